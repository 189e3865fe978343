// Opening streams on host file names.
#include "host/platform/ExtNameStr.h"

bool ExtNameStr::Open(std::ofstream& stream, std::ios_base::openmode mode) const {
  if (mName.find('\0') != std::string::npos) {
    stream.setstate(std::ios_base::failbit);
    return false;
  }
  stream.open(mName, mode);
  return stream.is_open();
}
