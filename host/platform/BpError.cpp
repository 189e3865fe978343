// Error reporting through a replaceable handler.
#include "host/platform/BpError.h"

#include <iostream>
#include <utility>

#include "host/platform/BpComposite.h"

namespace {

void WriteToStandardError(const std::string& text, std::int32_t /*show*/, std::int32_t /*level*/) {
  std::cerr << "omtext: " << text << '\n';
  std::cerr.flush();
}

BpErrorHandler& CurrentHandler() {
  static BpErrorHandler handler = WriteToStandardError;
  return handler;
}

}  // namespace

void BpError(const BpComposite& composite, std::int32_t show, std::int32_t level) {
  // A copy, so that a handler may replace itself while it runs.
  const BpErrorHandler handler = CurrentHandler();
  handler(composite.Text(), show, level);
}

BpErrorHandler BpSetErrorHandler(BpErrorHandler handler) {
  if (!handler)
    handler = WriteToStandardError;
  return std::exchange(CurrentHandler(), std::move(handler));
}
