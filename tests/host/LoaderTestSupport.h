// Helpers shared by the loader's tests: load a document from a string, and
// tell how it was rejected.
#pragma once

#include <sstream>
#include <string>

#include "host/OmDocumentLoader.h"

namespace omtext::testing {

inline OmOutputTree Load(const std::string& text) {
  std::istringstream in(text);
  return OmDocumentLoader::Load(in);
}

// "LINE:COLUMN: MESSAGE" of the rejection, or "accepted".
inline std::string Rejection(const std::string& text) {
  try {
    Load(text);
  } catch (const OmDocumentError& error) {
    return error.what();
  }
  return "accepted";
}

}  // namespace omtext::testing
