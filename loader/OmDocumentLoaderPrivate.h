// The machinery of the document loader, shared by its source files and
// defined in OmDocumentLoaderPrivate.cpp. The JSON reader's events go to a
// stack of frames, one per open object or list of the document's schema;
// each frame knows what its current slot expects, so a value of the wrong
// kind is reported where it stands. Frames are owned by their parent frame,
// which may reuse one child frame for every element of a long list.
//
// JSON objects are unordered, so a value may arrive before the key that
// gives it its meaning (a part's "text" before its "type", a table's "cells"
// before its "dimensions"). Such a value is held as events on a compact tape
// and replayed once its meaning is known; documents in the natural order
// stream through without holding anything.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "loader/OmDocumentLoader.h"

class OmCellText;
class OmOutputPart;

namespace omtext::loader {

class OmMappedText;
// A cell of a table as read, defined with the table's frames.
struct ParsedCell;

// Where a token starts: line and column (in bytes), counted from 1.
struct Position {
  std::int64_t line = 1;
  std::int64_t column = 1;
};

[[noreturn]] void Fail(Position at, std::string message);

// Lists and objects held before their meaning is known may nest this deep,
// counting the held value's own list or object as 1: as deep as the deepest
// valid value, a table's "dimensions" whose categories nest as deep as they
// may (a list and a group object a level) down to a leaf given as a cell
// object with a list of footnotes.
constexpr int kMaxHeldDepth = 2003;

// Quotes a key or text for a message, cutting it short when it is long.
std::string Quote(std::string_view text);

// How a document is read.
struct ReadMode {
  // Read in place (see ReadInPlace and HeldValue), or as a stream.
  bool inPlace = false;
  // A "data" list read in place with at least this many positions has its
  // cells stored on a second thread, which smaller ones are not worth.
  std::int64_t asidePositions = std::int64_t{1} << 20;
};

// Reads a document in place: text (followed by a NUL byte) must be valid
// UTF-8 without NUL bytes. Returns nothing on any failure, a document error
// or running out of memory alike; the caller then reads the document as a
// stream, which says exactly what and where. The reader recurses here,
// faster than its iterative mode, and a depth limit keeps that recursion
// shallow. mapped, when not null, is the mapping text lies in, whose pages
// are given back behind the reader.
// mode gives when a data list is stored on a second thread.
std::optional<OmOutputTree> ReadInPlace(const char* text, OmMappedText* mapped,
                                        ReadMode mode = ReadMode());

class Frame {
 public:
  explicit Frame(Position start) : mStart(start) {}
  virtual ~Frame() = default;
  Frame(const Frame&) = delete;
  Frame& operator=(const Frame&) = delete;

  // Where the frame's object or list opened.
  Position Start() const { return mStart; }

  // A key of an object frame; the next value belongs to it.
  virtual void OnKey(std::string_view key, Position at);
  // A value in this frame's current slot. OnObject and OnArray return the
  // frame that takes the new object's or list's events until its end; this
  // frame keeps owning it.
  virtual Frame* OnObject(Position at);
  virtual Frame* OnArray(Position at);
  virtual void OnString(std::string_view text, Position at);
  virtual void OnNumber(std::string_view raw, Position at);
  virtual void OnBool(bool value, Position at);
  virtual void OnNull(Position at);
  // A cell read before, replayed whole from a held value (see HeldValue).
  virtual void OnCell(ParsedCell& cell, Position at);
  // A held object or list that stood deeper than kMaxHeldDepth, replayed
  // in its place: refused as the object or list itself would be, and for its
  // depth if the frame would take it.
  virtual void OnTooDeep(bool list, Position at);
  // The frame's object or list closes; it hands its result to its owner.
  virtual void OnEnd(Position at) = 0;

 protected:
  // Reopens the frame for another object or list at start.
  void Restart(Position start) { mStart = start; }
  // What the current slot expects, for messages: "a string for \"text\"".
  virtual std::string Expected() const = 0;
  [[noreturn]] void Mismatch(Position at, std::string_view found) const;

 private:
  Position mStart;
};

// Sends events to a stack of frames whose bottom frame is given. A frame
// that takes the objects and lists inside its own (a held value's) stands on
// the stack once with a count, so a deep held value costs no stack.
class Dispatcher {
 public:
  explicit Dispatcher(Frame& bottom) { mStack.push_back(Level{&bottom, 0}); }

  void Key(std::string_view key, Position at) { Top().OnKey(key, at); }
  void String(std::string_view text, Position at) { Top().OnString(text, at); }
  void Number(std::string_view raw, Position at) { Top().OnNumber(raw, at); }
  void Bool(bool value, Position at) { Top().OnBool(value, at); }
  void Null(Position at) { Top().OnNull(at); }
  void Cell(ParsedCell& cell, Position at) { Top().OnCell(cell, at); }
  void TooDeep(bool list, Position at) { Top().OnTooDeep(list, at); }
  void StartObject(Position at) { Push(Top().OnObject(at)); }
  void StartArray(Position at) { Push(Top().OnArray(at)); }
  // Closes the top frame; the bottom frame is never closed here.
  void End(Position at) {
    Top().OnEnd(at);
    if (mStack.back().reentered > 0) {
      --mStack.back().reentered;
    } else {
      mStack.pop_back();
    }
  }

 private:
  struct Level {
    Frame* frame = nullptr;
    std::size_t reentered = 0;
  };
  Frame& Top() { return *mStack.back().frame; }
  void Push(Frame* frame) {
    if (frame == mStack.back().frame) {
      ++mStack.back().reentered;
    } else {
      // Filled in place: a level built whole goes through the stack, and
      // reading it back as one stalls every object and list.
      mStack.emplace_back();
      mStack.back().frame = frame;
    }
  }
  std::vector<Level> mStack;
};

// Bytes written in blocks and read back in order, each block freed once
// read. Blocks start small and grow to 64 KiB, below the size the allocator
// maps from the system on its own, so a freed block's memory goes to the
// cells being built rather than back to the system and in again.
class ByteBlocks {
 public:
  struct Block {
    std::unique_ptr<char[]> bytes;
    std::size_t size = 0;
    std::size_t used = 0;
  };

  // The most bytes a variable-length integer takes.
  static constexpr std::size_t kVarintBytes = 10;

  // Where to write at most `most` bytes, all in one block; Advance past
  // what was written.
  char* Reserve(std::size_t most) {
    if (static_cast<std::size_t>(mOutEnd - mOut) < most)
      Grow(most);
    return mOut;
  }
  void Advance(char* out) { mOut = out; }
  // How far the last block is written.
  std::size_t Offset() const { return static_cast<std::size_t>(mOut - mBlocks.back().bytes.get()); }
  // Notes in the last block how much of it is written, for reading back.
  void Seal() {
    if (!mBlocks.empty())
      mBlocks.back().used = Offset();
  }
  bool Empty() const { return mBlocks.empty(); }
  std::vector<Block>& Blocks() { return mBlocks; }
  void Clear() {
    mBlocks.clear();
    mOut = mOutEnd = nullptr;
  }

  static char* PutVarint(char* out, std::uint64_t value) {
    while (value >= 0x80) {
      *out++ = static_cast<char>((value & 0x7F) | 0x80);
      value >>= 7;
    }
    *out++ = static_cast<char>(value);
    return out;
  }
  static std::uint64_t GetVarint(const char*& in) {
    std::uint64_t value = 0;
    for (unsigned shift = 0;; shift += 7) {
      const auto byte = static_cast<unsigned char>(*in++);
      value |= static_cast<std::uint64_t>(byte & 0x7F) << shift;
      if (byte < 0x80)
        return value;
    }
  }

 private:
  void Grow(std::size_t most);

  // Every block's `used` is kept but the last one's, which ends at mOut.
  std::vector<Block> mBlocks;
  char* mOut = nullptr;
  char* mOutEnd = nullptr;
};

// A value held in a form of its own rather than as events: a table's dense
// "data", read before its dimensions, is held as the cells it makes, which
// take a third of the room of their events and replay without being read
// again. Only a document read in place holds such values: its events carry
// no position, and a document with an error is read again as a stream,
// which holds events and reports errors in their usual order.
class HeldValue : public Frame {
 public:
  using Frame::Frame;
  // Sends the value to dispatcher as events and cells, freeing it as it goes.
  virtual void Replay(Dispatcher& dispatcher) = 0;
};

// Events held for a later replay, packed into blocks of bytes. Each event
// takes one byte of kind, its position as a step from the event before (none
// at the same place, a column step on the same line, else a line step and a
// column), and for a key, string or number its length and bytes: a held
// value costs about its own size in the document.
class EventTape {
 public:
  enum class Kind : std::uint8_t {
    kKey,
    kString,
    kNumber,
    kFalse,
    kTrue,
    kNull,
    kStartObject,
    kStartArray,
    kEnd,
    kTooDeepObject,
    kTooDeepArray,
    // A HeldValue, by its number among the tape's.
    kHeldValue
  };

  EventTape() = default;
  EventTape(const EventTape&) = delete;
  EventTape& operator=(const EventTape&) = delete;

  // Adds an event; text is the key, string or raw number. Defined here, as
  // it runs for every event held.
  void Add(Kind kind, Position at, std::string_view text = {}) {
    char* out = mBytes.Reserve(1 + 3 * ByteBlocks::kVarintBytes + text.size());
    if (at.line != mLastLine) {
      *out++ = static_cast<char>(kind);
      out = ByteBlocks::PutVarint(out, Difference(at.line, mLastLine));
      out = ByteBlocks::PutVarint(out, static_cast<std::uint64_t>(at.column));
      mLastLine = at.line;
      mLastColumn = at.column;
    } else if (at.column != mLastColumn) {
      *out++ = static_cast<char>(static_cast<unsigned>(kind) | kSameLine);
      out = ByteBlocks::PutVarint(out, Difference(at.column, mLastColumn));
      mLastColumn = at.column;
    } else {
      *out++ = static_cast<char>(static_cast<unsigned>(kind) | kSamePlace);
    }
    if (HasText(kind)) {
      out = ByteBlocks::PutVarint(out, text.size());
      std::memcpy(out, text.data(), text.size());
      out += text.size();
    }
    mBytes.Advance(out);
  }
  // Adds a held key: a key outside the held values, which begins a segment
  // of the tape that a replay may send out of turn.
  void AddHeldKey(std::string_view key, Position at);
  // Adds a value held in its own form, which takes the value's events
  // until its object or list closes.
  HeldValue* AddHeldValue(std::unique_ptr<HeldValue> value, Position at);
  bool Empty() const { return mBytes.Empty(); }

  // Set in an event's first byte when it stands on the line of the event
  // before, or at the same place (as every event of a document read in
  // place does, whose events carry no position).
  static constexpr unsigned kSameLine = 0x10;
  static constexpr unsigned kSamePlace = 0x20;
  static bool HasText(Kind kind) {
    return kind == Kind::kKey || kind == Kind::kString || kind == Kind::kNumber;
  }

  using KeyPredicate = std::function<bool(std::string_view key)>;
  // Sends the events to a dispatcher over target, in order, and empties the
  // tape, freeing each block once its events are sent.
  void Replay(Frame& target);
  // Replays in two rounds and empties the tape: first each held key for
  // which later(key) is false with its value, then the others, freeing
  // blocks as the second round passes them.
  void ReplayDeferring(Frame& target, const KeyPredicate& later);

 private:
  // Where a segment starts, with the position its first event steps from.
  struct Mark {
    std::size_t block = 0;
    std::size_t offset = 0;
    Position before;
  };

  // A coordinate's step, taken modulo 2^64 so that any step can be written.
  static std::uint64_t Difference(std::int64_t to, std::int64_t from) {
    return static_cast<std::uint64_t>(to) - static_cast<std::uint64_t>(from);
  }

  // Moves the tape's contents to taken and empties this one.
  void MoveTo(EventTape& taken);
  // Sends the events from `from` up to `to` (or to the end) to dispatcher.
  void Send(Dispatcher& dispatcher, const Mark& from, const Mark* to, bool release);
  void Clear();

  // The position of the latest event added, from which the next one steps.
  // Its line and column are kept apart: the compiler would store them
  // together through the stack, which stalls every event.
  std::int64_t mLastLine = 1;
  ByteBlocks mBytes;
  std::vector<Mark> mSegments;
  std::vector<std::unique_ptr<HeldValue>> mValues;
  std::int64_t mLastColumn = 1;
};

// Holds values whose meaning is not known yet on a tape, to replay them
// once it is. The owner frame sends it each held key and the events of the
// key's value; a held object or list is this frame's until it closes. An
// object or list deeper than kMaxHeldDepth is held as one event without its
// contents, which no valid document needs: whatever the nesting, the tape
// stays within the size of the document.
class HoldFrame : public Frame {
 public:
  HoldFrame() : Frame(Position{}) {}

  void OnKey(std::string_view key, Position at) override;
  Frame* OnObject(Position at) override;
  Frame* OnArray(Position at) override;
  void OnString(std::string_view text, Position at) override;
  void OnNumber(std::string_view raw, Position at) override;
  void OnBool(bool value, Position at) override;
  void OnNull(Position at) override;
  void OnTooDeep(bool list, Position at) override;
  void OnEnd(Position at) override;
  // Holds the list or object opening at `at` as value, which takes its
  // events; in place of OnObject or OnArray, for a held key's value.
  Frame* Hold(std::unique_ptr<HeldValue> value, Position at) {
    return mTape.AddHeldValue(std::move(value), at);
  }

  bool Empty() const { return mTape.Empty(); }
  // Sends everything held to target's frames, in order, and forgets it.
  void Replay(Frame& target) { mTape.Replay(target); }
  // The same, but sends the keys for which later(key) holds after the others.
  void ReplayDeferring(Frame& target, const EventTape::KeyPredicate& later) {
    mTape.ReplayDeferring(target, later);
  }

 protected:
  std::string Expected() const override { return "a value"; }

 private:
  Frame* Open(EventTape::Kind kind, Position at);

  EventTape mTape;
  int mDepth = 0;
  // The levels open inside a value too deep to hold, whose events are dropped.
  int mSkipped = 0;
};

// Parses the number token raw as a JSON integer (no fraction, no exponent)
// within [low, high]; reports what is wrong at the token's position.
std::int64_t ParseInteger(std::string_view raw, Position at, std::int64_t low, std::int64_t high,
                          std::string_view what);
// Parses the number token raw as a finite double.
double ParseDouble(std::string_view raw, Position at);

// One key of an object: its name and what its value must be, as messages
// say it ("a string").
struct KeySpec {
  std::string_view name;
  std::string_view value;
};

// The index of key among keys, or -1 when it is not one of them.
template <std::size_t N>
int FindKey(const std::array<KeySpec, N>& keys, std::string_view key) {
  for (std::size_t k = 0; k < N; ++k) {
    if (keys[k].name == key)
      return static_cast<int>(k);
  }
  return -1;
}

// What the value of a key must be, for messages: "a string for \"text\"".
std::string ExpectedFor(const KeySpec& key);

// Tracks which of a fixed set of keys an object has seen, to reject repeats.
class KeySet {
 public:
  // Marks key number k as seen; a repeat is reported at its position.
  void Mark(int k, std::string_view key, Position at);
  bool Has(int k) const { return (mBits >> k) & 1U; }
  void Clear() { mBits = 0; }

 private:
  std::uint32_t mBits = 0;
};

// A list of strings, such as a text block's lines or a cell's markers.
class StringListFrame : public Frame {
 public:
  StringListFrame(Position start, std::vector<std::string>& target, std::string what)
      : Frame(start), mTarget(target), mWhat(std::move(what)) {}

  void Reopen(Position start) { Restart(start); }
  void OnString(std::string_view text, Position) override { mTarget.emplace_back(text); }
  void OnEnd(Position) override {}

 protected:
  std::string Expected() const override { return "a string in " + mWhat; }

 private:
  std::vector<std::string>& mTarget;
  std::string mWhat;
};

// The frame of a part's kind-specific keys, made once the part's "type" is
// known; the part's own frame keeps "type", "selected" and "children".
class PartBody : public Frame {
 public:
  using Frame::Frame;
  // Whether a key held before the part's type was known is best replayed
  // after the others (a table's cells, after its dimensions).
  virtual bool ReplayLast(std::string_view) const { return false; }
  // The part, made when its object has closed.
  virtual std::unique_ptr<OmOutputPart> MakePart() = 0;
};

}  // namespace omtext::loader
