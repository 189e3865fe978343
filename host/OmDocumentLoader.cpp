// The document loader: a streaming JSON reader whose events go to a stack
// of frames that build the output tree. This file holds the stream, the
// event routing and the frames of the document and its parts.
#include "host/OmDocumentLoader.h"

#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>

#include <array>
#include <charconv>
#include <cstring>
#include <istream>
#include <optional>
#include <utility>

#include "host/OmDocumentLoaderPrivate.h"
#include "host/OmHeading.h"
#include "host/OmPageTitle.h"
#include "host/OmTextBlock.h"
#include "host/OmTitledPart.h"

OmDocumentError::OmDocumentError(std::int64_t line, std::int64_t column,
                                 const std::string& message)
    : std::runtime_error(std::to_string(line) + ":" + std::to_string(column) + ": " + message),
      mLine(line),
      mColumn(column),
      mMessage(message) {}

namespace omtext::loader {

void Fail(Position at, std::string message) {
  throw OmDocumentError(at.line, at.column, message);
}

std::string Quote(std::string_view text) {
  constexpr std::size_t kLongest = 40;
  std::string quoted = "\"";
  quoted.append(text.substr(0, kLongest));
  if (text.size() > kLongest) quoted.append("...");
  quoted.push_back('"');
  return quoted;
}

void Frame::Mismatch(Position at, std::string_view found) const {
  Fail(at, "expected " + Expected() + ", found " + std::string(found));
}

void Frame::OnKey(Loader&, std::string_view, Position at) { Mismatch(at, "a key"); }
std::unique_ptr<Frame> Frame::OnObject(Loader&, Position at) { Mismatch(at, "an object"); }
std::unique_ptr<Frame> Frame::OnArray(Loader&, Position at) { Mismatch(at, "a list"); }
void Frame::OnString(Loader&, std::string_view, Position at) { Mismatch(at, "a string"); }
void Frame::OnNumber(Loader&, std::string_view, Position at) { Mismatch(at, "a number"); }
void Frame::OnBool(Loader&, bool, Position at) { Mismatch(at, "a boolean"); }
void Frame::OnNull(Loader&, Position at) { Mismatch(at, "null"); }

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
    const bool tiny = exponent != std::string_view::npos && exponent + 1 < raw.size() &&
                      raw[exponent + 1] == '-';
    if (tiny) return raw.front() == '-' ? -0.0 : 0.0;
    Fail(at, "the number " + std::string(raw.substr(0, 40)) + " is too large");
  }
  if (error != std::errc() || end != raw.data() + raw.size()) {
    Fail(at, "malformed number " + std::string(raw.substr(0, 40)));
  }
  return value;
}

void KeySet::Mark(int k, std::string_view key, Position at) {
  if (Has(k)) Fail(at, "repeated key " + Quote(key));
  mBits |= 1U << k;
}

namespace {

// The reader's input: the document in chunks, with the line and column of
// the start of the latest token. After Arm(1) the start is caught by the
// first byte taken that is neither white space nor a comma or colon, which is
// exactly where the next value or key begins. The reader reports brackets
// before it takes them; Arm(2) then lets the bracket itself pass.
class TrackingStream {
 public:
  using Ch = char;

  explicit TrackingStream(std::istream& in) : mIn(in), mBuffer(kChunk + 1) {
    mCurrent = mLast = mBuffer.data();
    Refill();
    if (mLast - mCurrent >= 3 && std::memcmp(mCurrent, "\xEF\xBB\xBF", 3) == 0) {
      mCurrent += 3;
      mLineStart = 3;
    }
  }

  Ch Peek() const { return *mCurrent; }

  Ch Take() {
    const Ch c = *mCurrent;
    if (mCurrent == mLast) return c;
    if (mArmed != 0 && c != ' ' && c != '\n' && c != '\r' && c != '\t' && c != ',' && c != ':') {
      if (--mArmed == 0) mToken = Here();
    }
    ++mCurrent;
    if (c == '\n') {
      ++mLine;
      mLineStart = Tell();
    }
    if (mCurrent == mLast) Refill();
    return c;
  }

  std::size_t Tell() const {
    return mBase + static_cast<std::size_t>(mCurrent - mBuffer.data());
  }

  // The writing half of the stream concept; the reader never writes to a
  // stream it only parses from.
  Ch* PutBegin() { return nullptr; }
  void Put(Ch) {}
  void Flush() {}
  std::size_t PutEnd(Ch*) { return 0; }

  void Arm(int skip) { mArmed = skip; }
  Position Token() const { return mToken; }
  Position Here() const {
    return Position{mLine, static_cast<std::int64_t>(Tell() - mLineStart) + 1};
  }
  // The position of an offset on the current line (the reader reports its
  // errors at or just before where it stopped, never across a line feed).
  Position At(std::size_t offset) const {
    if (offset < mLineStart) return Position{mLine, 1};
    return Position{mLine, static_cast<std::int64_t>(offset - mLineStart) + 1};
  }
  // Whether the input stopped at a NUL byte before its true end.
  bool StoppedAtNul() const { return mNul && mCurrent == mLast; }

 private:
  static constexpr std::size_t kChunk = 1 << 16;

  void Refill() {
    if (mEnd) return;
    mBase += static_cast<std::size_t>(mLast - mBuffer.data());
    mIn.read(mBuffer.data(), static_cast<std::streamsize>(kChunk));
    if (mIn.bad()) throw std::runtime_error("read error");
    std::size_t count = static_cast<std::size_t>(mIn.gcount());
    if (count < kChunk) mEnd = true;
    // The reader takes a NUL byte for the end of the text; stop there and
    // report it rather than let it cut a document short unnoticed.
    if (const void* nul = std::memchr(mBuffer.data(), '\0', count)) {
      count = static_cast<std::size_t>(static_cast<const char*>(nul) - mBuffer.data());
      mEnd = true;
      mNul = true;
    }
    mCurrent = mBuffer.data();
    mLast = mBuffer.data() + count;
    *mLast = '\0';
  }

  std::istream& mIn;
  std::vector<char> mBuffer;
  char* mCurrent = nullptr;
  char* mLast = nullptr;
  std::size_t mBase = 0;
  bool mEnd = false;
  bool mNul = false;
  std::int64_t mLine = 1;
  std::size_t mLineStart = 0;
  int mArmed = 1;
  Position mToken;
};

// A decoded string holds invalid UTF-8 only where an escape named a lone
// low surrogate (the reader checks raw bytes and surrogate pairs itself).
void CheckDecodedUtf8(std::string_view text, Position at) {
  for (std::size_t i = text.find('\xED'); i != std::string_view::npos;
       i = text.find('\xED', i + 1)) {
    if (i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) >= 0xA0) {
      Fail(at, "the string is not valid UTF-8 (an escape encodes a lone surrogate)");
    }
  }
}

}  // namespace

// Routes the reader's events to the frame on top of the stack.
class Loader {
 public:
  Loader(TrackingStream& stream, std::unique_ptr<Frame> root) : mStream(stream) {
    mStack.push_back(std::move(root));
  }

  bool Null() {
    Top().OnNull(*this, Next());
    return true;
  }
  bool Bool(bool value) {
    Top().OnBool(*this, value, Next());
    return true;
  }
  bool RawNumber(const char* text, rapidjson::SizeType length, bool) {
    Top().OnNumber(*this, std::string_view(text, length), Next());
    return true;
  }
  bool String(const char* text, rapidjson::SizeType length, bool) {
    const Position at = Next();
    const std::string_view value(text, length);
    CheckDecodedUtf8(value, at);
    Top().OnString(*this, value, at);
    return true;
  }
  bool Key(const char* text, rapidjson::SizeType length, bool) {
    Top().OnKey(*this, std::string_view(text, length), Next());
    return true;
  }
  bool StartObject() {
    const Position at = NextBracket();
    Push(Top().OnObject(*this, at));
    return true;
  }
  bool StartArray() {
    const Position at = NextBracket();
    Push(Top().OnArray(*this, at));
    return true;
  }
  bool EndObject(rapidjson::SizeType) { return End(); }
  bool EndArray(rapidjson::SizeType) { return End(); }
  // Numbers arrive as raw text only (the reader is told so).
  bool Int(int) { return false; }
  bool Uint(unsigned) { return false; }
  bool Int64(std::int64_t) { return false; }
  bool Uint64(std::uint64_t) { return false; }
  bool Double(double) { return false; }

 private:
  Frame& Top() { return *mStack.back(); }
  // The position of a scalar or key, which the reader has taken whole.
  Position Next() {
    const Position at = mStream.Token();
    mStream.Arm(1);
    return at;
  }
  // The position of a bracket, which the reader has not taken yet.
  Position NextBracket() {
    const Position at = mStream.Here();
    mStream.Arm(2);
    return at;
  }
  void Push(std::unique_ptr<Frame> frame) { mStack.push_back(std::move(frame)); }
  bool End() {
    Top().OnEnd(*this, NextBracket());
    mStack.pop_back();
    return true;
  }

  TrackingStream& mStream;
  std::vector<std::unique_ptr<Frame>> mStack;
};

namespace {

// Parts may nest this deep, counting top-level parts as 1; deeper trees are
// refused rather than walked, since nothing real needs them.
constexpr int kMaxPartDepth = 1000;

// Whoever receives a list of parts: the document or a part's children.
class PartListOwner {
 public:
  virtual void TakeParts(OmOutputTree parts) = 0;

 protected:
  ~PartListOwner() = default;
};

// A list of strings, such as a text block's lines.
class StringListFrame : public Frame {
 public:
  StringListFrame(Position start, std::vector<std::string>& target, std::string what)
      : Frame(start), mTarget(target), mWhat(std::move(what)) {}

  void OnString(Loader&, std::string_view text, Position) override {
    mTarget.emplace_back(text);
  }
  void OnEnd(Loader&, Position) override {}

 protected:
  std::string Expected() const override { return "a string in " + mWhat; }

 private:
  std::vector<std::string>& mTarget;
  std::string mWhat;
};

enum class PartKind {
  kProcedure,
  kHeading,
  kText,
  kPageTitle,
  kChart,
  kModel,
  kAnswerTree,
  kInteractive,
  kPivotTable
};

struct KindName {
  std::string_view name;
  PartKind kind;
};
constexpr std::array<KindName, 9> kKindNames{{{"procedure", PartKind::kProcedure},
                                              {"heading", PartKind::kHeading},
                                              {"text", PartKind::kText},
                                              {"page-title", PartKind::kPageTitle},
                                              {"chart", PartKind::kChart},
                                              {"model", PartKind::kModel},
                                              {"answer-tree", PartKind::kAnswerTree},
                                              {"interactive", PartKind::kInteractive},
                                              {"pivot-table", PartKind::kPivotTable}}};

// The keys a part object may have, and which kinds allow each.
enum PartKey {
  kType,
  kSelected,
  kChildren,
  kText,
  kLines,
  kSubtitle,
  kTitle,
  kShowTitle,
  kCaption,
  kNotes,
  kFootnotes,
  kDimensions,
  kCells,
  kData,
  kPartKeyCount
};
constexpr std::array<std::string_view, kPartKeyCount> kPartKeyNames{
    "type",     "selected", "children",  "text",       "lines", "subtitle", "title",
    "show-title", "caption", "notes", "footnotes", "dimensions", "cells", "data"};

bool Allows(PartKind kind, int key) {
  switch (key) {
    case kType:
    case kSelected:
    case kChildren:
      return true;
    case kText:
      return kind == PartKind::kProcedure || kind == PartKind::kHeading ||
             kind == PartKind::kPageTitle;
    case kLines:
      return kind == PartKind::kText;
    case kSubtitle:
      return kind == PartKind::kPageTitle;
    case kTitle:
      return kind == PartKind::kChart || kind == PartKind::kModel ||
             kind == PartKind::kAnswerTree || kind == PartKind::kInteractive ||
             kind == PartKind::kPivotTable;
    default:
      return kind == PartKind::kPivotTable;
  }
}

std::string KindLabel(PartKind kind) {
  for (const KindName& entry : kKindNames) {
    if (entry.kind == kind) return "a " + Quote(entry.name) + " part";
  }
  return "a part";
}

class PartListFrame;

class PartFrame : public Frame {
 public:
  PartFrame(Position start, PartListFrame& owner, int depth)
      : Frame(start), mOwner(owner), mDepth(depth) {}

  void OnKey(Loader&, std::string_view key, Position at) override {
    mKey = -1;
    for (int k = 0; k < kPartKeyCount; ++k) {
      if (kPartKeyNames[static_cast<std::size_t>(k)] == key) mKey = k;
    }
    if (mKey < 0) Fail(at, "unknown key " + Quote(key) + " in a part");
    mKeys.Mark(mKey, key, at);
    mKeyAt[static_cast<std::size_t>(mKey)] = at;
    if (mKind) {
      CheckAllowed(mKey);
    } else if (mKey != kTitle && !Allows(PartKind::kProcedure, mKey) &&
               !Allows(PartKind::kText, mKey) && !Allows(PartKind::kPageTitle, mKey)) {
      Unsupported(at);
    }
  }

  std::unique_ptr<Frame> OnArray(Loader&, Position at) override {
    if (mKey == kChildren) {
      if (mDepth >= kMaxPartDepth) {
        Fail(at, "parts are nested more than " + std::to_string(kMaxPartDepth) + " levels deep");
      }
      return MakeChildList(at);
    }
    if (mKey == kLines) return std::make_unique<StringListFrame>(at, mLines, "\"lines\"");
    Mismatch(at, "a list");
  }

  std::unique_ptr<Frame> OnObject(Loader&, Position at) override {
    if (mKey == kTitle && !mKind) Unsupported(at);
    Mismatch(at, "an object");
  }

  void OnString(Loader&, std::string_view text, Position at) override {
    switch (mKey) {
      case kType:
        SetKind(text, at);
        return;
      case kText:
        mText = std::string(text);
        return;
      case kSubtitle:
        mSubtitle = std::string(text);
        return;
      case kTitle:
        mTitle = std::string(text);
        return;
      default:
        Mismatch(at, "a string");
    }
  }

  void OnNumber(Loader&, std::string_view, Position at) override {
    if (mKey == kTitle && !mKind) Unsupported(at);
    Mismatch(at, "a number");
  }

  void OnBool(Loader&, bool value, Position at) override {
    if (mKey != kSelected) Mismatch(at, "a boolean");
    mSelected = value;
  }

  void OnEnd(Loader&, Position) override;

  void TakeChildren(OmOutputTree children) { mChildren = std::move(children); }

 protected:
  std::string Expected() const override {
    switch (mKey) {
      case kType:
        return "a string for \"type\"";
      case kSelected:
        return "a boolean for \"selected\"";
      case kChildren:
        return "a list of parts for \"children\"";
      case kLines:
        return "a list of strings for \"lines\"";
      default:
        return "a string for " + Quote(kPartKeyNames[static_cast<std::size_t>(mKey)]);
    }
  }

 private:
  std::unique_ptr<Frame> MakeChildList(Position at);

  void SetKind(std::string_view name, Position at) {
    for (const KindName& entry : kKindNames) {
      if (entry.name == name) mKind = entry.kind;
    }
    if (!mKind) Fail(at, "unknown part type " + Quote(name));
    if (*mKind == PartKind::kPivotTable) Unsupported(at);
    for (int k = 0; k < kPartKeyCount; ++k) {
      if (mKeys.Has(k)) CheckAllowed(k);
    }
  }

  void CheckAllowed(int key) const {
    if (!Allows(*mKind, key)) {
      Fail(mKeyAt[static_cast<std::size_t>(key)],
           "key " + Quote(kPartKeyNames[static_cast<std::size_t>(key)]) +
               " is not allowed in " + KindLabel(*mKind));
    }
  }

  [[noreturn]] static void Unsupported(Position at) {
    Fail(at, "pivot tables are not supported yet");
  }

  void Require(int key, std::string_view name) const {
    if (!mKeys.Has(key)) {
      Fail(Start(), "missing key " + Quote(name) + " in " + KindLabel(*mKind));
    }
  }

  std::unique_ptr<OmOutputPart> MakePart() const {
    switch (*mKind) {
      case PartKind::kProcedure:
        Require(kText, "text");
        return std::make_unique<OmProcedure>(mText);
      case PartKind::kHeading:
        Require(kText, "text");
        return std::make_unique<OmHeading>(mText);
      case PartKind::kText:
        Require(kLines, "lines");
        return std::make_unique<OmTextBlock>(mLines);
      case PartKind::kPageTitle:
        Require(kText, "text");
        return std::make_unique<OmPageTitle>(mText, mSubtitle);
      case PartKind::kChart:
        return std::make_unique<OmChart>(mTitle);
      case PartKind::kModel:
        return std::make_unique<OmModel>(mTitle);
      case PartKind::kAnswerTree:
        return std::make_unique<OmAnswerTree>(mTitle);
      case PartKind::kInteractive:
        return std::make_unique<OmInteractive>(mTitle);
      case PartKind::kPivotTable:
        break;
    }
    Unsupported(Start());
  }

  PartListFrame& mOwner;
  int mDepth;
  int mKey = -1;
  KeySet mKeys;
  std::array<Position, kPartKeyCount> mKeyAt{};
  std::optional<PartKind> mKind;
  bool mSelected = true;
  std::string mText;
  std::string mSubtitle;
  std::string mTitle;
  std::vector<std::string> mLines;
  OmOutputTree mChildren;
};

// A list of parts at one level: the document's "output" or a part's
// "children". The parts and their descendants are gathered in a tree whose
// levels count from 1 and are shifted when the list is handed over.
class PartListFrame : public Frame {
 public:
  PartListFrame(Position start, PartListOwner* documentOwner, PartFrame* partOwner, int depth)
      : Frame(start), mDocumentOwner(documentOwner), mPartOwner(partOwner), mDepth(depth) {}

  std::unique_ptr<Frame> OnObject(Loader&, Position at) override {
    return std::make_unique<PartFrame>(at, *this, mDepth);
  }

  void Add(std::unique_ptr<OmOutputPart> part, OmOutputTree children) {
    mParts.Append(std::move(part), 1);
    mParts.AppendTree(std::move(children), 1);
  }

  void OnEnd(Loader&, Position) override {
    if (mPartOwner != nullptr) {
      mPartOwner->TakeChildren(std::move(mParts));
    } else {
      mDocumentOwner->TakeParts(std::move(mParts));
    }
  }

 protected:
  std::string Expected() const override { return "a part (an object)"; }

 private:
  PartListOwner* mDocumentOwner;
  PartFrame* mPartOwner;
  int mDepth;
  OmOutputTree mParts;
};

std::unique_ptr<Frame> PartFrame::MakeChildList(Position at) {
  return std::make_unique<PartListFrame>(at, nullptr, this, mDepth + 1);
}

void PartFrame::OnEnd(Loader&, Position) {
  if (!mKind) Fail(Start(), "missing key \"type\" in a part");
  std::unique_ptr<OmOutputPart> part = MakePart();
  part->selected = mSelected;
  mOwner.Add(std::move(part), std::move(mChildren));
}

// The document object: {"output": [PART, ...]}.
class DocumentFrame : public Frame, public PartListOwner {
 public:
  DocumentFrame(Position start, OmOutputTree& result) : Frame(start), mResult(result) {}

  void OnKey(Loader&, std::string_view key, Position at) override {
    if (key != "output") Fail(at, "unknown key " + Quote(key) + " in the document");
    mKeys.Mark(0, key, at);
  }
  std::unique_ptr<Frame> OnArray(Loader&, Position at) override {
    return std::make_unique<PartListFrame>(at, this, nullptr, 1);
  }
  void TakeParts(OmOutputTree parts) override { mResult = std::move(parts); }
  void OnEnd(Loader&, Position) override {
    if (!mKeys.Has(0)) Fail(Start(), "missing key \"output\" in the document");
  }

 protected:
  std::string Expected() const override { return "a list of parts for \"output\""; }

 private:
  OmOutputTree& mResult;
  KeySet mKeys;
};

// Stands below the document: the whole text must be one object.
class RootFrame : public Frame {
 public:
  explicit RootFrame(OmOutputTree& result) : Frame(Position{}), mResult(result) {}
  std::unique_ptr<Frame> OnObject(Loader&, Position at) override {
    return std::make_unique<DocumentFrame>(at, mResult);
  }
  void OnEnd(Loader&, Position) override {}

 protected:
  std::string Expected() const override { return "the document object {\"output\": [...]}"; }

 private:
  OmOutputTree& mResult;
};

std::string ReaderMessage(rapidjson::ParseErrorCode code) {
  std::string message = rapidjson::GetParseError_En(code);
  if (!message.empty() && message.back() == '.') message.pop_back();
  if (!message.empty() && message[0] >= 'A' && message[0] <= 'Z') {
    message[0] = static_cast<char>(message[0] - 'A' + 'a');
  }
  return "invalid JSON: " + message;
}

}  // namespace
}  // namespace omtext::loader

OmOutputTree OmDocumentLoader::Load(std::istream& in) {
  using namespace omtext::loader;
  OmOutputTree result;
  TrackingStream stream(in);
  Loader loader(stream, std::make_unique<RootFrame>(result));
  rapidjson::Reader reader;
  constexpr unsigned kFlags = rapidjson::kParseIterativeFlag |
                              rapidjson::kParseValidateEncodingFlag |
                              rapidjson::kParseNumbersAsStringsFlag;
  const rapidjson::ParseResult parsed = reader.Parse<kFlags>(stream, loader);
  if (stream.StoppedAtNul()) Fail(stream.Here(), "the document holds a NUL byte");
  if (parsed.IsError()) Fail(stream.At(parsed.Offset()), ReaderMessage(parsed.Code()));
  return result;
}
