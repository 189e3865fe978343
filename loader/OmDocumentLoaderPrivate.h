// The machinery of the document loader, shared by its source files and
// defined in OmDocumentLoaderPrivate.cpp. The
// JSON reader's events go to a stack of frames, one per open object or list
// of the document's schema; each frame knows what its current slot expects,
// so a value of the wrong kind is reported where it stands. Frames are owned
// by their parent frame, which may reuse one child frame for every element
// of a long list.
//
// JSON objects are unordered, so a value may arrive before the key that
// gives it its meaning (a part's "text" before its "type", a table's "cells"
// before its "dimensions"). Such a value is recorded as events and replayed
// once its meaning is known; documents in the natural order stream through
// without recording.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "loader/OmDocumentLoader.h"

class OmCellText;
class OmOutputPart;

namespace omtext::loader {

// Where a token starts: line and column (in bytes), counted from 1.
struct Position {
  std::int64_t line = 1;
  std::int64_t column = 1;
};

[[noreturn]] void Fail(Position at, std::string message);

// Quotes a key or text for a message, cutting it short when it is long.
std::string Quote(std::string_view text);

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

// Sends events to a stack of frames whose bottom frame is given.
class Dispatcher {
 public:
  explicit Dispatcher(Frame& bottom) { mStack.push_back(&bottom); }

  void Key(std::string_view key, Position at) { Top().OnKey(key, at); }
  void String(std::string_view text, Position at) { Top().OnString(text, at); }
  void Number(std::string_view raw, Position at) { Top().OnNumber(raw, at); }
  void Bool(bool value, Position at) { Top().OnBool(value, at); }
  void Null(Position at) { Top().OnNull(at); }
  void StartObject(Position at) { mStack.push_back(Top().OnObject(at)); }
  void StartArray(Position at) { mStack.push_back(Top().OnArray(at)); }
  // Closes the top frame; the bottom frame is never closed here.
  void End(Position at) {
    Top().OnEnd(at);
    mStack.pop_back();
  }
  std::size_t Depth() const { return mStack.size(); }

 private:
  Frame& Top() { return *mStack.back(); }
  std::vector<Frame*> mStack;
};

// Events recorded for a later replay.
class EventLog {
 public:
  enum class Type : std::uint8_t { Key, String, Number, Bool, Null, StartObject, StartArray, End };

  void Add(Type type, Position at, std::string_view text = {}, bool flag = false) {
    mEvents.push_back(Event{type, flag, at, std::string(text)});
  }
  bool Empty() const { return mEvents.empty(); }
  void Clear() { mEvents.clear(); }
  // Sends the events to a dispatcher over target, in order.
  void Replay(Frame& target) const;

 private:
  struct Event {
    Type type;
    bool flag;
    Position at;
    std::string text;
  };
  std::vector<Event> mEvents;
};

// Records one value, whatever it holds, into a log: the frame of a recorded
// object or list and of everything inside it.
class RecorderFrame : public Frame {
 public:
  RecorderFrame(Position start, EventLog& log) : Frame(start), mLog(log) {}
  // Frees the chain of child frames without recursing, however deep the
  // recorded value was nested.
  ~RecorderFrame() override;

  void OnKey(std::string_view key, Position at) override;
  Frame* OnObject(Position at) override;
  Frame* OnArray(Position at) override;
  void OnString(std::string_view text, Position at) override;
  void OnNumber(std::string_view raw, Position at) override;
  void OnBool(bool value, Position at) override;
  void OnNull(Position at) override;
  void OnEnd(Position at) override;

 protected:
  std::string Expected() const override { return "a value"; }

 private:
  EventLog& mLog;
  std::unique_ptr<RecorderFrame> mChild;
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
  // The part, made when its object has closed.
  virtual std::unique_ptr<OmOutputPart> MakePart() = 0;
};

}  // namespace omtext::loader
