// The frame machinery of the document loader, declared in
// OmDocumentLoaderPrivate.h: messages and positions, the base frame, event
// routing and recording, number parsing and repeated-key checks.
#include "loader/OmDocumentLoaderPrivate.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <optional>
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
void Frame::OnCell(ParsedCell&, Position at) {
  Mismatch(at, "a cell");
}
void Frame::OnTooDeep(bool list, Position at) {
  // Whatever frame the object or list would open is never used: the
  // document is refused here either way.
  if (list) {
    OnArray(at);
  } else {
    OnObject(at);
  }
  Fail(at,
       "lists and objects are nested more than " + std::to_string(kMaxHeldDepth) + " levels deep");
}

namespace {

// The smallest and the largest block of bytes: small tapes (a few keys
// before a part's "type") stay small, and large ones grow in blocks that are
// freed one by one as they are replayed.
constexpr std::size_t kFirstBlockBytes = 256;
constexpr std::size_t kLargestBlockBytes = std::size_t{64} << 10;

// Steps a coordinate by a difference taken modulo 2^64, as PutVarint wrote it.
std::int64_t Step(std::int64_t from, std::uint64_t by) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(from) + by);
}

struct TapeEvent {
  EventTape::Kind kind;
  std::string_view text;
  // A held value's number.
  std::size_t value = 0;
};

// Reads the event at `in` and moves past it; `at` steps from the position of
// the event before to this one's.
inline TapeEvent ReadEvent(const char*& in, Position& at) {
  const auto first = static_cast<unsigned char>(*in++);
  // An event at the place of the one before carries no step.
  if ((first & EventTape::kSameLine) != 0) {
    at.column = Step(at.column, ByteBlocks::GetVarint(in));
  } else if ((first & EventTape::kSamePlace) == 0) {
    at.line = Step(at.line, ByteBlocks::GetVarint(in));
    at.column = static_cast<std::int64_t>(ByteBlocks::GetVarint(in));
  }
  TapeEvent event{
      static_cast<EventTape::Kind>(first & ~(EventTape::kSameLine | EventTape::kSamePlace)), {}};
  if (EventTape::HasText(event.kind)) {
    const auto length = static_cast<std::size_t>(ByteBlocks::GetVarint(in));
    event.text = std::string_view(in, length);
    in += length;
  } else if (event.kind == EventTape::Kind::kHeldValue) {
    event.value = static_cast<std::size_t>(ByteBlocks::GetVarint(in));
  }
  return event;
}

}  // namespace

void ByteBlocks::Grow(std::size_t most) {
  Seal();
  const std::size_t grown =
      mBlocks.empty() ? kFirstBlockBytes : std::min(2 * mBlocks.back().size, kLargestBlockBytes);
  const std::size_t size = std::max(grown, most);
  // Not zeroed: only the bytes written are ever read.
  mBlocks.push_back(Block{std::unique_ptr<char[]>(new char[size]), size, 0});
  mOut = mBlocks.back().bytes.get();
  mOutEnd = mOut + size;
}

void EventTape::AddHeldKey(std::string_view key, Position at) {
  mBytes.Reserve(1 + 3 * ByteBlocks::kVarintBytes + key.size());
  mSegments.push_back(
      Mark{mBytes.Blocks().size() - 1, mBytes.Offset(), Position{mLastLine, mLastColumn}});
  Add(Kind::kKey, at, key);
}

HeldValue* EventTape::AddHeldValue(std::unique_ptr<HeldValue> value, Position at) {
  // Room for the event and its number in one block, as an event is read.
  mBytes.Reserve(1 + 4 * ByteBlocks::kVarintBytes);
  Add(Kind::kHeldValue, at);
  char* out = mBytes.Reserve(ByteBlocks::kVarintBytes);
  mBytes.Advance(ByteBlocks::PutVarint(out, mValues.size()));
  mValues.push_back(std::move(value));
  return mValues.back().get();
}

void EventTape::Clear() {
  mBytes.Clear();
  mSegments.clear();
  mValues.clear();
  mLastLine = 1;
  mLastColumn = 1;
}

void EventTape::MoveTo(EventTape& taken) {
  // Taken out first, so the tape is empty and usable while its events go out.
  mBytes.Seal();
  std::swap(taken.mBytes, mBytes);
  std::swap(taken.mSegments, mSegments);
  std::swap(taken.mValues, mValues);
  Clear();
}

void EventTape::Replay(Frame& target) {
  EventTape taken;
  MoveTo(taken);
  Dispatcher dispatcher(target);
  taken.Send(dispatcher, Mark{}, nullptr, true);
}

void EventTape::ReplayDeferring(Frame& target, const KeyPredicate& later) {
  EventTape taken;
  MoveTo(taken);
  std::vector<Mark>& segments = taken.mSegments;
  // Events before the first held key, if any, go out first.
  if (segments.empty() || segments.front().block != 0 || segments.front().offset != 0)
    segments.insert(segments.begin(), Mark{});
  // A segment's first event is its key, read here to choose its round.
  auto keyOf = [&](const Mark& mark) {
    const char* in = taken.mBytes.Blocks()[mark.block].bytes.get() + mark.offset;
    Position at = mark.before;
    const TapeEvent event = ReadEvent(in, at);
    return event.kind == Kind::kKey ? event.text : std::string_view();
  };
  std::vector<bool> deferred(segments.size());
  for (std::size_t i = 0; i < segments.size(); ++i)
    deferred[i] = later(keyOf(segments[i]));
  Dispatcher dispatcher(target);
  for (const bool round : {false, true}) {
    for (std::size_t i = 0; i < segments.size(); ++i) {
      if (deferred[i] != round)
        continue;
      const Mark* next = i + 1 < segments.size() ? &segments[i + 1] : nullptr;
      if (round) {
        // Every event before this segment has gone out.
        for (std::size_t b = 0; b < segments[i].block; ++b)
          taken.mBytes.Blocks()[b].bytes.reset();
      }
      taken.Send(dispatcher, segments[i], next, round);
    }
  }
}

void EventTape::Send(Dispatcher& dispatcher, const Mark& from, const Mark* to, bool release) {
  Position at = from.before;
  std::vector<ByteBlocks::Block>& blocks = mBytes.Blocks();
  const std::size_t lastBlock = to != nullptr ? to->block : blocks.size() - 1;
  for (std::size_t b = from.block; b <= lastBlock && b < blocks.size(); ++b) {
    ByteBlocks::Block& block = blocks[b];
    const char* in = block.bytes.get() + (b == from.block ? from.offset : 0);
    const char* const end =
        block.bytes.get() + (to != nullptr && b == to->block ? to->offset : block.used);
    while (in < end) {
      const auto [kind, text, value] = ReadEvent(in, at);
      switch (kind) {
        case Kind::kKey:
          dispatcher.Key(text, at);
          break;
        case Kind::kString:
          dispatcher.String(text, at);
          break;
        case Kind::kNumber:
          dispatcher.Number(text, at);
          break;
        case Kind::kFalse:
        case Kind::kTrue:
          dispatcher.Bool(kind == Kind::kTrue, at);
          break;
        case Kind::kNull:
          dispatcher.Null(at);
          break;
        case Kind::kStartObject:
          dispatcher.StartObject(at);
          break;
        case Kind::kStartArray:
          dispatcher.StartArray(at);
          break;
        case Kind::kEnd:
          dispatcher.End(at);
          break;
        case Kind::kTooDeepObject:
        case Kind::kTooDeepArray:
          dispatcher.TooDeep(kind == Kind::kTooDeepArray, at);
          break;
        case Kind::kHeldValue:
          mValues[value]->Replay(dispatcher);
          mValues[value].reset();
          break;
      }
    }
    // A block that the next segment starts in still holds its events.
    if (release && (to == nullptr || b < to->block))
      block.bytes.reset();
  }
}

void HoldFrame::OnKey(std::string_view key, Position at) {
  if (mSkipped > 0)
    return;
  if (mDepth == 0) {
    mTape.AddHeldKey(key, at);
  } else {
    mTape.Add(EventTape::Kind::kKey, at, key);
  }
}
Frame* HoldFrame::OnObject(Position at) {
  return Open(EventTape::Kind::kStartObject, at);
}
Frame* HoldFrame::OnArray(Position at) {
  return Open(EventTape::Kind::kStartArray, at);
}
void HoldFrame::OnString(std::string_view text, Position at) {
  if (mSkipped == 0)
    mTape.Add(EventTape::Kind::kString, at, text);
}
void HoldFrame::OnNumber(std::string_view raw, Position at) {
  if (mSkipped == 0)
    mTape.Add(EventTape::Kind::kNumber, at, raw);
}
void HoldFrame::OnBool(bool value, Position at) {
  if (mSkipped == 0)
    mTape.Add(value ? EventTape::Kind::kTrue : EventTape::Kind::kFalse, at);
}
void HoldFrame::OnNull(Position at) {
  if (mSkipped == 0)
    mTape.Add(EventTape::Kind::kNull, at);
}
void HoldFrame::OnTooDeep(bool list, Position at) {
  if (mSkipped == 0)
    mTape.Add(list ? EventTape::Kind::kTooDeepArray : EventTape::Kind::kTooDeepObject, at);
}
void HoldFrame::OnEnd(Position at) {
  if (mSkipped > 0) {
    --mSkipped;
    return;
  }
  mTape.Add(EventTape::Kind::kEnd, at);
  --mDepth;
}

Frame* HoldFrame::Open(EventTape::Kind kind, Position at) {
  if (mSkipped > 0) {
    ++mSkipped;
  } else if (mDepth >= kMaxHeldDepth) {
    OnTooDeep(kind == EventTape::Kind::kStartArray, at);
    mSkipped = 1;
  } else {
    ++mDepth;
    mTape.Add(kind, at);
  }
  return this;
}

std::int64_t ParseInteger(std::string_view raw, Position at, std::int64_t low, std::int64_t high,
                          std::string_view what) {
  // Most integers are a few plain digits; they need neither the search for a
  // fraction nor the general conversion. Eighteen digits cannot overflow.
  const bool negative = !raw.empty() && raw[0] == '-';
  if (raw.size() > (negative ? 1U : 0U) && raw.size() <= 18) {
    std::int64_t value = 0;
    std::size_t i = negative ? 1 : 0;
    for (; i < raw.size() && raw[i] >= '0' && raw[i] <= '9'; ++i)
      value = value * 10 + (raw[i] - '0');
    if (i == raw.size()) {
      value = negative ? -value : value;
      if (value >= low && value <= high)
        return value;
    }
  }
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

namespace {

// The value of a plain decimal (an optional minus, at most 15 digits, an
// optional fraction, no exponent), which is most numbers a table holds.
// Its digits make an integer below 2^53 and its scale a power of ten that a
// double holds exactly, so one division gives the correctly rounded value,
// as from_chars would; anything else gives nullopt.
std::optional<double> PlainDecimal(std::string_view raw) {
  static constexpr double kPowers[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                       1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  const char* p = raw.data();
  const char* const end = p + raw.size();
  const bool negative = p != end && *p == '-';
  if (negative)
    ++p;
  // The whole part's digits, then the fraction's; digits beyond the 15th
  // may wrap, but then the count sends the text to the general parser.
  std::uint64_t digits = 0;
  auto take = [&digits, &p, end] {
    const char* const first = p;
    for (; p != end && *p >= '0' && *p <= '9'; ++p)
      digits = digits * 10 + static_cast<std::uint64_t>(*p - '0');
    return static_cast<std::size_t>(p - first);
  };
  std::size_t count = take();
  std::size_t scale = 0;
  if (p != end) {
    if (*p != '.')
      return std::nullopt;
    ++p;
    scale = take();
    if (p != end)
      return std::nullopt;
    count += scale;
  }
  if (count == 0 || count > 15)
    return std::nullopt;
  const double value = static_cast<double>(digits) / kPowers[scale];
  return negative ? -value : value;
}

}  // namespace

double ParseDouble(std::string_view raw, Position at) {
  if (const std::optional<double> plain = PlainDecimal(raw))
    return *plain;
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
