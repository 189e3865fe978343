// The machinery of the document loader, shared by its two source files: the
// SAX events of the JSON reader are routed to a stack of frames, one per open
// object or list of the document's schema. Each frame knows what its current
// slot expects, so a value of the wrong kind is reported where it stands.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/OmDocumentLoader.h"

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

class Loader;

class Frame {
 public:
  explicit Frame(Position start) : mStart(start) {}
  virtual ~Frame() = default;
  Frame(const Frame&) = delete;
  Frame& operator=(const Frame&) = delete;

  // Where the frame's object or list opened.
  Position Start() const { return mStart; }

  // A key of an object frame; the next value belongs to it.
  virtual void OnKey(Loader& loader, std::string_view key, Position at);
  // A value in this frame's current slot. OnObject and OnArray return the
  // frame that takes over until the matching end; the loader owns it.
  virtual std::unique_ptr<Frame> OnObject(Loader& loader, Position at);
  virtual std::unique_ptr<Frame> OnArray(Loader& loader, Position at);
  virtual void OnString(Loader& loader, std::string_view text, Position at);
  virtual void OnNumber(Loader& loader, std::string_view raw, Position at);
  virtual void OnBool(Loader& loader, bool value, Position at);
  virtual void OnNull(Loader& loader, Position at);
  // The frame's object or list closes; it hands its result to its parent.
  virtual void OnEnd(Loader& loader, Position at) = 0;

 protected:
  // What the current slot expects, for messages: "a string for \"text\"".
  virtual std::string Expected() const = 0;
  [[noreturn]] void Mismatch(Position at, std::string_view found) const;

 private:
  Position mStart;
};

// Parses the number token raw as a JSON integer (no fraction, no exponent)
// within [low, high]; reports what is wrong at the token's position.
std::int64_t ParseInteger(std::string_view raw, Position at, std::int64_t low, std::int64_t high,
                          std::string_view what);
// Parses the number token raw as a finite double.
double ParseDouble(std::string_view raw, Position at);

// Tracks which of a fixed set of keys an object has seen, to reject repeats.
class KeySet {
 public:
  // Marks key number k as seen; a repeat is reported at its position.
  void Mark(int k, std::string_view key, Position at);
  bool Has(int k) const { return (mBits >> k) & 1U; }

 private:
  std::uint32_t mBits = 0;
};

}  // namespace omtext::loader
