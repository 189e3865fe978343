// The host's error reporting: a composed message goes, with its show and
// level values, to the current error handler. The default handler writes
// "omtext: TEXT" and a line feed to standard error; programs and tests may
// install their own. The handler is process-wide and not thread-safe.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

class BpComposite;

// Receives the composed text and the show and level values as given.
using BpErrorHandler =
    std::function<void(const std::string& text, std::int32_t show, std::int32_t level)>;

// Passes the composite's text (as Finish() left it) to the current handler.
// An exception thrown by the handler passes to the caller.
void BpError(const BpComposite& composite, std::int32_t show, std::int32_t level);

// Installs handler and returns the one it replaces. An empty handler
// installs the default one.
BpErrorHandler BpSetErrorHandler(BpErrorHandler handler);

// Installs a handler for its own lifetime and puts the previous one back
// when destroyed.
class BpErrorHandlerScope {
 public:
  explicit BpErrorHandlerScope(BpErrorHandler handler)
      : mPrevious(BpSetErrorHandler(std::move(handler))) {}
  ~BpErrorHandlerScope() { BpSetErrorHandler(std::move(mPrevious)); }
  BpErrorHandlerScope(const BpErrorHandlerScope&) = delete;
  BpErrorHandlerScope& operator=(const BpErrorHandlerScope&) = delete;

 private:
  BpErrorHandler mPrevious;
};
