// The frame machinery of the document loader, declared in
// OmDocumentLoaderPrivate.h: messages and positions, the base frame, event
// routing and recording, number parsing and repeated-key checks.
#include "loader/OmDocumentLoaderPrivate.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "host/platform/OmMessageText.h"

namespace omtext::loader {

void Fail(Position at, std::string message) {
  throw OmDocumentError(at.line, at.column, message);
}

std::string Quote(std::string_view text) {
  constexpr std::size_t kLongest = 40;
  // Cut between characters, never inside one, and write control characters
  // as escapes: a message is one line of valid UTF-8 whatever the key held.
  std::size_t cut = std::min(text.size(), kLongest);
  if (cut < text.size()) {
    while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80)
      --cut;
  }
  std::string quoted = "\"" + OmOneLine(text.substr(0, cut));
  if (cut < text.size())
    quoted.append("...");
  quoted.push_back('"');
  return quoted;
}

void Frame::Mismatch(Position at, std::string_view found) const {
  Fail(at, "expected " + Expected() + ", found " + std::string(found));
}

void Frame::OnKey(std::string_view, Position at) {
  Mismatch(at, "a key");
}
Frame* Frame::OnObject(Position at) {
  Mismatch(at, "an object");
}
Frame* Frame::OnArray(Position at) {
  Mismatch(at, "a list");
}
void Frame::OnString(std::string_view, Position at) {
  Mismatch(at, "a string");
}
void Frame::OnNumber(std::string_view, Position at) {
  Mismatch(at, "a number");
}
void Frame::OnBool(bool, Position at) {
  Mismatch(at, "a boolean");
}
void Frame::OnNull(Position at) {
  Mismatch(at, "null");
}

void EventLog::Replay(Frame& target) const {
  Dispatcher dispatcher(target);
  for (const Event& event : mEvents) {
    switch (event.type) {
      case Type::Key:
        dispatcher.Key(event.text, event.at);
        break;
      case Type::String:
        dispatcher.String(event.text, event.at);
        break;
      case Type::Number:
        dispatcher.Number(event.text, event.at);
        break;
      case Type::Bool:
        dispatcher.Bool(event.flag, event.at);
        break;
      case Type::Null:
        dispatcher.Null(event.at);
        break;
      case Type::StartObject:
        dispatcher.StartObject(event.at);
        break;
      case Type::StartArray:
        dispatcher.StartArray(event.at);
        break;
      case Type::End:
        dispatcher.End(event.at);
        break;
    }
  }
}

RecorderFrame::~RecorderFrame() {
  // Each level of a nested value has its own frame, owned by the level
  // above; unlinking them one by one keeps the stack flat.
  std::unique_ptr<RecorderFrame> next = std::move(mChild);
  while (next)
    next = std::move(next->mChild);
}

void RecorderFrame::OnKey(std::string_view key, Position at) {
  mLog.Add(EventLog::Type::Key, at, key);
}
Frame* RecorderFrame::OnObject(Position at) {
  mLog.Add(EventLog::Type::StartObject, at);
  if (!mChild)
    mChild = std::make_unique<RecorderFrame>(at, mLog);
  return mChild.get();
}
Frame* RecorderFrame::OnArray(Position at) {
  mLog.Add(EventLog::Type::StartArray, at);
  if (!mChild)
    mChild = std::make_unique<RecorderFrame>(at, mLog);
  return mChild.get();
}
void RecorderFrame::OnString(std::string_view text, Position at) {
  mLog.Add(EventLog::Type::String, at, text);
}
void RecorderFrame::OnNumber(std::string_view raw, Position at) {
  mLog.Add(EventLog::Type::Number, at, raw);
}
void RecorderFrame::OnBool(bool value, Position at) {
  mLog.Add(EventLog::Type::Bool, at, {}, value);
}
void RecorderFrame::OnNull(Position at) {
  mLog.Add(EventLog::Type::Null, at);
}
void RecorderFrame::OnEnd(Position at) {
  mLog.Add(EventLog::Type::End, at);
}

std::int64_t ParseInteger(std::string_view raw, Position at, std::int64_t low, std::int64_t high,
                          std::string_view what) {
  if (raw.find_first_of(".eE") != std::string_view::npos) {
    Fail(at, std::string(what) + " must be an integer, without fraction or exponent");
  }
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(raw.data(), raw.data() + raw.size(), value);
  if (error != std::errc() || end != raw.data() + raw.size() || value < low || value > high) {
    Fail(at, std::string(what) + " " + std::string(raw.substr(0, 40)) + " is out of range (" +
                 std::to_string(low) + " to " + std::to_string(high) + ")");
  }
  return value;
}

double ParseDouble(std::string_view raw, Position at) {
  double value = 0;
  const auto [end, error] = std::from_chars(raw.data(), raw.data() + raw.size(), value);
  if (error == std::errc::result_out_of_range) {
    // Underflow to zero is harmless; overflow has no finite value to show.
    const std::size_t exponent = raw.find_first_of("eE");
    const bool tiny =
        exponent != std::string_view::npos && exponent + 1 < raw.size() && raw[exponent + 1] == '-';
    if (tiny)
      return raw.front() == '-' ? -0.0 : 0.0;
    Fail(at, "the number " + std::string(raw.substr(0, 40)) + " is too large");
  }
  if (error != std::errc() || end != raw.data() + raw.size()) {
    Fail(at, "malformed number " + std::string(raw.substr(0, 40)));
  }
  return value;
}

std::string ExpectedFor(const KeySpec& key) {
  return std::string(key.value) + " for " + Quote(key.name);
}

void KeySet::Mark(int k, std::string_view key, Position at) {
  if (Has(k))
    Fail(at, "repeated key " + Quote(key));
  mBits |= 1U << k;
}

}  // namespace omtext::loader
