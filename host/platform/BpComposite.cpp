// Composing host messages.
#include "host/platform/BpComposite.h"

#include <cstddef>
#include <utility>

BpComposite::BpComposite(std::string message, bool /*isText*/)
    : mMessage(std::move(message)), mText(mMessage) {}

void BpComposite::Add(const BpString& argument) {
  mArguments.push_back(argument);
}

void BpComposite::Finish() {
  std::string text;
  text.reserve(mMessage.size());
  const std::size_t size = mMessage.size();
  std::size_t i = 0;
  while (i < size) {
    const char c = mMessage[i];
    if (c != '^') {
      text += c;
      ++i;
      continue;
    }
    // The whole run of digits names the argument; a run too long to name
    // one stays text, which also keeps the number from overflowing.
    std::size_t end = i + 1;
    std::size_t number = 0;
    bool inRange = true;
    while (end < size && mMessage[end] >= '0' && mMessage[end] <= '9') {
      if (inRange) {
        number = number * 10 + static_cast<std::size_t>(mMessage[end] - '0');
        inRange = number <= mArguments.size();
      }
      ++end;
    }
    if (end > i + 1 && inRange && number >= 1) {
      text += mArguments[number - 1].Text();
    } else {
      text.append(mMessage, i, end - i);
    }
    i = end;
  }
  mText = std::move(text);
}
