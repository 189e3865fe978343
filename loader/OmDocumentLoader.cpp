// The document loader: a streaming JSON reader whose events go to a stack
// of frames that build the output tree. This file holds the stream, the
// event routing and the frames of the document and its parts.
#include "loader/OmDocumentLoader.h"

#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <istream>
#include <limits>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "host/output/OmHeading.h"
#include "host/output/OmPageTitle.h"
#include "host/output/OmTextBlock.h"
#include "host/output/OmTitledPart.h"
#include "host/platform/OmMessageText.h"
#include "loader/OmDocumentLoaderPrivate.h"
#include "loader/OmMappedText.h"
#include "loader/OmPivotTableLoader.h"

OmDocumentError::OmDocumentError(std::int64_t line, std::int64_t column, const std::string& message)
    : std::runtime_error(std::to_string(line) + ":" + std::to_string(column) + ": " + message),
      mLine(line),
      mColumn(column),
      mMessage(message) {}

namespace omtext::loader {
namespace {

// The white space JSON allows between tokens. NUL is none, so a test of the
// NUL byte after a text is false without a test of the end.
bool IsJsonSpace(char c) {
  return c == ' ' || c == '\n' || c == '\r' || c == '\t';
}

// The reader's input: the document in chunks, with the line and column of
// the start of the latest token. The reader skips white space before every
// token (values, keys, brackets, commas and colons alike) and reports a value
// or key once it has taken it whole, a bracket before taking it; so where the
// latest skip stopped is where the reported token began.
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
    if (mCurrent == mLast)
      return c;
    ++mCurrent;
    if (c == '\n') {
      ++mLine;
      mLineStart = Tell();
    }
    if (mCurrent == mLast)
      Refill();
    return c;
  }

  std::size_t Tell() const { return mBase + static_cast<std::size_t>(mCurrent - mBuffer.data()); }

  // The writing half of the stream concept; the reader never writes to a
  // stream it only parses from.
  Ch* PutBegin() { return nullptr; }
  void Put(Ch) {}
  void Flush() {}
  std::size_t PutEnd(Ch*) { return 0; }

  // The texts of the number and the string just taken, as reported.
  std::string_view NumberText(const char* text, std::size_t length) const { return {text, length}; }
  std::string_view StringText(const char* text, std::size_t length) const { return {text, length}; }

  // Skips the white space the reader skips, and notes where it stops. Most
  // tokens follow none, so that test stays apart from the skipping loop.
  void SkipWhitespace() {
    if (IsJsonSpace(Peek()))
      SkipSpaces();
    mToken = Here();
    mTokenOffset = Tell();
  }
  Position Token() const { return mToken; }
  // Whether the string just taken, decoded to length bytes, had an escape:
  // every escape is longer than what it decodes to.
  bool StringHadEscape(std::size_t length) const { return Tell() - mTokenOffset != length + 2; }
  Position Here() const {
    return Position{mLine, static_cast<std::int64_t>(Tell() - mLineStart) + 1};
  }
  // The position of an offset on the current line (the reader reports its
  // errors at or just before where it stopped, never across a line feed).
  Position At(std::size_t offset) const {
    if (offset < mLineStart)
      return Position{mLine, 1};
    return Position{mLine, static_cast<std::int64_t>(offset - mLineStart) + 1};
  }
  // Whether the input stopped at a NUL byte before its true end.
  bool StoppedAtNul() const { return mNul && mCurrent == mLast; }

 private:
  static constexpr std::size_t kChunk = 1 << 16;

  void SkipSpaces() {
    while (mCurrent != mLast && IsJsonSpace(Peek()))
      Take();
  }

  void Refill() {
    if (mEnd)
      return;
    mBase += static_cast<std::size_t>(mLast - mBuffer.data());
    mIn.read(mBuffer.data(), static_cast<std::streamsize>(kChunk));
    if (mIn.bad())
      throw std::runtime_error("read error");
    std::size_t count = static_cast<std::size_t>(mIn.gcount());
    if (count < kChunk)
      mEnd = true;
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
  Position mToken;
  std::size_t mTokenOffset = 0;
};

// The reader's input when the whole document is in memory and known to be
// valid UTF-8 without NUL bytes: the reader is then told not to check the
// encoding, and a byte is taken without a test of the end, since a NUL byte
// follows the text. Positions only ever appear in errors, and a document
// with an error is read again as a stream to report it, so none are kept.
class MappedStream {
 public:
  using Ch = char;

  // text must be followed by a NUL byte. Pages of mapped behind the reader
  // are given back as it goes; mapped may be null.
  MappedStream(const char* text, OmMappedText* mapped)
      : mText(mapped), mBegin(text), mCurrent(text) {}

  Ch Peek() const { return *mCurrent; }
  Ch Take() { return *mCurrent++; }
  std::size_t Tell() const { return static_cast<std::size_t>(mCurrent - mBegin); }

  // The reader is told to decode strings in place, which spares it copying
  // every token onto its stack; but nothing is written here, Put only
  // counts. So the reader reports a string as its raw text with its decoded
  // length, and a number at wherever the stream then stands: its text is
  // taken from where its token began instead.
  Ch* PutBegin() {
    mPut = 0;
    return const_cast<Ch*>(mCurrent);
  }
  void Put(Ch) { ++mPut; }
  void Flush() {}
  std::size_t PutEnd(Ch*) const { return mPut; }

  std::string_view NumberText(const char*, std::size_t length) const {
    return {mBegin + mTokenOffset, length};
  }
  // The raw text is the decoded one unless the string had an escape; such a
  // string, rare in real documents, is read again on its own to decode it.
  // The reader has just read the same token, so that cannot fail; if it did,
  // reading in place gives up and the stream reads the document.
  std::string_view StringText(const char* text, std::size_t length) {
    if (!StringHadEscape(length))
      return {text, length};
    DecodedString decoded{{}, mDecoded};
    rapidjson::StringStream token(mBegin + mTokenOffset);
    if (rapidjson::Reader().Parse<rapidjson::kParseStopWhenDoneFlag>(token, decoded).IsError())
      throw std::runtime_error("an escaped string read in place did not decode");
    return mDecoded;
  }

  // Besides noting where a token starts, gives back the text well behind
  // it now and then: no token reaches back that far, and the loader keeps
  // copies of everything it holds. Inlined into the reader, which then keeps
  // the stream's place in a register; called, it would go through memory
  // before every token.
  [[gnu::always_inline]] void SkipWhitespace() {
    while (IsJsonSpace(Peek()))
      ++mCurrent;
    mTokenOffset = Tell();
    if (mTokenOffset >= mNextRelease && mText != nullptr) {
      mText->Release(mTokenOffset - kReleaseLag);
      mNextRelease = mTokenOffset + kReleaseLag;
    }
  }
  Position Token() const { return Position{}; }
  bool StringHadEscape(std::size_t length) const { return Tell() - mTokenOffset != length + 2; }

 private:
  static constexpr std::size_t kReleaseLag = std::size_t{1} << 20;

  // Keeps the one string a token decodes to.
  struct DecodedString : rapidjson::BaseReaderHandler<rapidjson::UTF8<>, DecodedString> {
    bool String(const char* text, rapidjson::SizeType length, bool) {
      out.assign(text, length);
      return true;
    }
    std::string& out;
  };

  OmMappedText* mText;
  const char* mBegin;
  const char* mCurrent;
  std::size_t mTokenOffset = 0;
  std::size_t mNextRelease = 2 * kReleaseLag;
  std::size_t mPut = 0;
  std::string mDecoded;
};

// How deep lists and objects may nest in a document read in place, where
// the reader recurses; real documents stay far below it.
constexpr int kMaxInPlaceDepth = 256;

// Found by argument-dependent lookup, in preference to the reader's own
// template, which would go through Peek and Take a byte at a time.
void SkipWhitespace(TrackingStream& stream) {
  stream.SkipWhitespace();
}
[[gnu::always_inline]] inline void SkipWhitespace(MappedStream& stream) {
  stream.SkipWhitespace();
}

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

// The longest string a document may hold (16 MiB): far beyond any real
// heading or line, and it keeps one value from exhausting memory.
constexpr std::size_t kMaxStringBytes = std::size_t{1} << 24;

// Turns the reader's events, with their positions, into dispatcher calls.
template <typename Stream>
class SaxHandler {
 public:
  // depthLimit: how deep lists and objects may nest before the handler
  // stops the reader, which then reports a parse error.
  SaxHandler(Stream& stream, Frame& root, int depthLimit = std::numeric_limits<int>::max())
      : mStream(stream), mDispatcher(root), mDepthLeft(depthLimit) {}

  bool Null() {
    mDispatcher.Null(Next());
    return true;
  }
  bool Bool(bool value) {
    mDispatcher.Bool(value, Next());
    return true;
  }
  bool RawNumber(const char* text, rapidjson::SizeType length, bool) {
    mDispatcher.Number(mStream.NumberText(text, length), Next());
    return true;
  }
  bool String(const char* text, rapidjson::SizeType length, bool) {
    const Position at = Next();
    const std::string_view value = mStream.StringText(text, length);
    if (value.size() > kMaxStringBytes) {
      Fail(at, "a string may hold at most " + std::to_string(kMaxStringBytes) + " bytes");
    }
    if (mStream.StringHadEscape(value.size()))
      CheckDecodedUtf8(value, at);
    mDispatcher.String(value, at);
    return true;
  }
  bool Key(const char* text, rapidjson::SizeType length, bool) {
    const Position at = Next();
    const std::string_view key = mStream.StringText(text, length);
    if (mStream.StringHadEscape(key.size()))
      CheckDecodedUtf8(key, at);
    mDispatcher.Key(key, at);
    return true;
  }
  bool StartObject() {
    if (--mDepthLeft < 0)
      return false;
    mDispatcher.StartObject(Next());
    return true;
  }
  bool StartArray() {
    if (--mDepthLeft < 0)
      return false;
    mDispatcher.StartArray(Next());
    return true;
  }
  bool EndObject(rapidjson::SizeType) {
    ++mDepthLeft;
    mDispatcher.End(Next());
    return true;
  }
  bool EndArray(rapidjson::SizeType) {
    ++mDepthLeft;
    mDispatcher.End(Next());
    return true;
  }
  // Numbers arrive as raw text only (the reader is told so).
  bool Int(int) { return false; }
  bool Uint(unsigned) { return false; }
  bool Int64(std::int64_t) { return false; }
  bool Uint64(std::uint64_t) { return false; }
  bool Double(double) { return false; }

 private:
  // The position of the token just reported.
  Position Next() const { return mStream.Token(); }

  Stream& mStream;
  Dispatcher mDispatcher;
  int mDepthLeft;
};

// Parts may nest this deep, counting top-level parts as 1; deeper trees are
// refused rather than walked, since nothing real needs them.
constexpr int kMaxPartDepth = 1000;

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

std::string KindLabel(std::string_view name) {
  return "a " + Quote(name) + " part";
}

// The body of every part but a pivot table: a text, lines, a title and
// subtitle as its kind allows.
class SimplePartBody : public PartBody {
 public:
  SimplePartBody(Position start, PartKind kind, std::string_view kindName)
      : PartBody(start), mKind(kind), mKindName(kindName) {}

  void OnKey(std::string_view key, Position at) override {
    mKey = FindKey(kKeys, key);
    if (mKey < 0 || !Allows(mKey)) {
      Fail(at, "key " + Quote(key) + " is not allowed in " + KindLabel(mKindName));
    }
    mKeys.Mark(mKey, key, at);
  }

  Frame* OnArray(Position at) override {
    if (mKey != kLines)
      Mismatch(at, "a list");
    mLinesFrame = std::make_unique<StringListFrame>(at, mLines, "\"lines\"");
    return mLinesFrame.get();
  }

  void OnString(std::string_view text, Position at) override {
    if (mKey == kLines)
      Mismatch(at, "a string");
    mStrings[static_cast<std::size_t>(mKey)] = std::string(text);
  }

  void OnEnd(Position) override {}

  std::unique_ptr<OmOutputPart> MakePart() override {
    switch (mKind) {
      case PartKind::kProcedure:
        return std::make_unique<OmProcedure>(Required(kText));
      case PartKind::kHeading:
        return std::make_unique<OmHeading>(Required(kText));
      case PartKind::kText:
        Required(kLines);
        return std::make_unique<OmTextBlock>(std::move(mLines));
      case PartKind::kPageTitle:
        return std::make_unique<OmPageTitle>(Required(kText), mStrings[kSubtitle]);
      case PartKind::kChart:
        return std::make_unique<OmChart>(mStrings[kTitle]);
      case PartKind::kModel:
        return std::make_unique<OmModel>(mStrings[kTitle]);
      case PartKind::kAnswerTree:
        return std::make_unique<OmAnswerTree>(mStrings[kTitle]);
      case PartKind::kInteractive:
      case PartKind::kPivotTable:
        break;
    }
    return std::make_unique<OmInteractive>(mStrings[kTitle]);
  }

 protected:
  std::string Expected() const override {
    return ExpectedFor(kKeys[static_cast<std::size_t>(mKey)]);
  }

 private:
  enum Key { kText, kLines, kSubtitle, kTitle, kKeyCount };
  static constexpr std::array<KeySpec, kKeyCount> kKeys{{{"text", "a string"},
                                                         {"lines", "a list of strings"},
                                                         {"subtitle", "a string"},
                                                         {"title", "a string"}}};

  bool Allows(int key) const {
    switch (key) {
      case kText:
        return mKind == PartKind::kProcedure || mKind == PartKind::kHeading ||
               mKind == PartKind::kPageTitle;
      case kLines:
        return mKind == PartKind::kText;
      case kSubtitle:
        return mKind == PartKind::kPageTitle;
      default:
        return mKind == PartKind::kChart || mKind == PartKind::kModel ||
               mKind == PartKind::kAnswerTree || mKind == PartKind::kInteractive;
    }
  }

  const std::string& Required(int key) const {
    if (!mKeys.Has(key)) {
      Fail(Start(), "missing key " + Quote(kKeys[static_cast<std::size_t>(key)].name) + " in " +
                        KindLabel(mKindName));
    }
    return mStrings[static_cast<std::size_t>(key)];
  }

  PartKind mKind;
  std::string_view mKindName;
  int mKey = -1;
  KeySet mKeys;
  std::array<std::string, kKeyCount> mStrings;
  std::vector<std::string> mLines;
  std::unique_ptr<StringListFrame> mLinesFrame;
};

class PartListFrame;

// A part object. It keeps "type", "selected" and "children" itself and
// hands the other keys to the body of its kind; keys that arrive before
// "type" are held and replayed into the body when the type is known.
class PartFrame : public Frame {
 public:
  PartFrame(Position start, PartListFrame& owner, int depth, ReadMode mode)
      : Frame(start), mOwner(owner), mDepth(depth), mMode(mode) {}

  void OnKey(std::string_view key, Position at) override {
    if (const int k = FindKey(kKeys, key); k >= 0) {
      mKeys.Mark(k, key, at);
      mSlot = static_cast<Slot>(k);
    } else if (mBody) {
      mSlot = Slot::kBody;
      mBody->OnKey(key, at);
    } else {
      if (key != "text" && key != "lines" && key != "subtitle" && key != "title" &&
          !IsPivotTableKey(key)) {
        Fail(at, "unknown key " + Quote(key) + " in a part");
      }
      mSlot = Slot::kHold;
      mHoldingData = key == "data";
      mHeldData = mHeldData || mHoldingData;
      mHeld.OnKey(key, at);
    }
  }

  Frame* OnObject(Position at) override {
    if (mSlot == Slot::kBody)
      return mBody->OnObject(at);
    if (mSlot == Slot::kHold)
      return mHeld.OnObject(at);
    Mismatch(at, "an object");
  }

  Frame* OnArray(Position at) override;

  void OnString(std::string_view text, Position at) override {
    if (mSlot == Slot::kType)
      return SetKind(text, at);
    if (mSlot == Slot::kBody)
      return mBody->OnString(text, at);
    if (mSlot == Slot::kHold)
      return mHeld.OnString(text, at);
    Mismatch(at, "a string");
  }

  void OnNumber(std::string_view raw, Position at) override {
    if (mSlot == Slot::kBody)
      return mBody->OnNumber(raw, at);
    if (mSlot == Slot::kHold)
      return mHeld.OnNumber(raw, at);
    Mismatch(at, "a number");
  }

  void OnBool(bool value, Position at) override {
    if (mSlot == Slot::kSelected) {
      mSelected = value;
      return;
    }
    if (mSlot == Slot::kBody)
      return mBody->OnBool(value, at);
    if (mSlot == Slot::kHold)
      return mHeld.OnBool(value, at);
    Mismatch(at, "a boolean");
  }

  void OnNull(Position at) override {
    if (mSlot == Slot::kBody)
      return mBody->OnNull(at);
    if (mSlot == Slot::kHold)
      return mHeld.OnNull(at);
    Mismatch(at, "null");
  }

  void OnEnd(Position at) override;

  void TakeChildren(OmOutputTree children) { mChildren = std::move(children); }

 protected:
  std::string Expected() const override {
    return ExpectedFor(kKeys[static_cast<std::size_t>(std::min(mSlot, Slot::kChildren))]);
  }

 private:
  // The part's own keys come first, in the order of kKeys.
  enum class Slot { kType, kSelected, kChildren, kBody, kHold, kNone };
  static constexpr std::array<KeySpec, 3> kKeys{
      {{"type", "a string"}, {"selected", "a boolean"}, {"children", "a list of parts"}}};

  void SetKind(std::string_view name, Position at) {
    const KindName* found = nullptr;
    for (const KindName& entry : kKindNames) {
      if (entry.name == name)
        found = &entry;
    }
    if (found == nullptr)
      Fail(at, "unknown part type " + Quote(name));
    if (found->kind == PartKind::kPivotTable) {
      // Held data is replayed into the table on this thread (see
      // PivotTableBody::OnArray).
      ReadMode mode = mMode;
      if (mHeldData)
        mode.asidePositions = std::numeric_limits<std::int64_t>::max();
      mBody = MakePivotTableBody(Start(), mode);
    } else {
      mBody = std::make_unique<SimplePartBody>(Start(), found->kind, found->name);
    }
    if (!mHeld.Empty())
      mHeld.ReplayDeferring(*mBody,
                            [this](std::string_view key) { return mBody->ReplayLast(key); });
  }

  PartListFrame& mOwner;
  int mDepth;
  ReadMode mMode;
  Slot mSlot = Slot::kNone;
  // Whether the held key is "data", whose list is held in a form of its own.
  bool mHoldingData = false;
  // Whether "data" was held.
  bool mHeldData = false;
  KeySet mKeys;
  bool mSelected = true;
  std::unique_ptr<PartBody> mBody;
  HoldFrame mHeld;
  std::unique_ptr<PartListFrame> mChildList;
  OmOutputTree mChildren;
};

// A list of parts at one level: the document's "output" or a part's
// "children". The parts and their descendants are gathered in a tree whose
// levels count from 1 and are shifted when the list is handed over.
class PartListFrame : public Frame {
 public:
  PartListFrame(Position start, OmOutputTree& result, int depth, ReadMode mode)
      : Frame(start), mResult(result), mDepth(depth), mMode(mode) {}

  Frame* OnObject(Position at) override {
    mPart = std::make_unique<PartFrame>(at, *this, mDepth, mMode);
    return mPart.get();
  }

  void Add(std::unique_ptr<OmOutputPart> part, OmOutputTree children) {
    mParts.Append(std::move(part), 1);
    mParts.AppendTree(std::move(children), 1);
  }

  void OnEnd(Position) override { mResult = std::move(mParts); }

 protected:
  std::string Expected() const override { return "a part (an object)"; }

 private:
  OmOutputTree& mResult;
  int mDepth;
  ReadMode mMode;
  OmOutputTree mParts;
  std::unique_ptr<PartFrame> mPart;
};

Frame* PartFrame::OnArray(Position at) {
  if (mSlot == Slot::kChildren) {
    if (mDepth >= kMaxPartDepth) {
      Fail(at, "parts are nested more than " + std::to_string(kMaxPartDepth) + " levels deep");
    }
    mChildList = std::make_unique<PartListFrame>(at, mChildren, mDepth + 1, mMode);
    return mChildList.get();
  }
  if (mSlot == Slot::kBody)
    return mBody->OnArray(at);
  if (mSlot == Slot::kHold)
    return mHoldingData && mMode.inPlace ? mHeld.Hold(MakeHeldData(at), at) : mHeld.OnArray(at);
  Mismatch(at, "a list");
}

void PartFrame::OnEnd(Position at) {
  if (!mBody)
    Fail(Start(), "missing key \"type\" in a part");
  mBody->OnEnd(at);
  std::unique_ptr<OmOutputPart> part = mBody->MakePart();
  part->selected = mSelected;
  mOwner.Add(std::move(part), std::move(mChildren));
}

// The document object: {"output": [PART, ...]}.
class DocumentFrame : public Frame {
 public:
  DocumentFrame(Position start, OmOutputTree& result, ReadMode mode)
      : Frame(start), mResult(result), mMode(mode) {}

  void OnKey(std::string_view key, Position at) override {
    if (key != "output")
      Fail(at, "unknown key " + Quote(key) + " in the document");
    mKeys.Mark(0, key, at);
  }
  Frame* OnArray(Position at) override {
    mList = std::make_unique<PartListFrame>(at, mResult, 1, mMode);
    return mList.get();
  }
  void OnEnd(Position) override {
    if (!mKeys.Has(0))
      Fail(Start(), "missing key \"output\" in the document");
  }

 protected:
  std::string Expected() const override { return "a list of parts for \"output\""; }

 private:
  OmOutputTree& mResult;
  ReadMode mMode;
  KeySet mKeys;
  std::unique_ptr<PartListFrame> mList;
};

// Stands below the document: the whole text must be one object.
class RootFrame : public Frame {
 public:
  RootFrame(OmOutputTree& result, ReadMode mode)
      : Frame(Position{}), mResult(result), mMode(mode) {}
  Frame* OnObject(Position at) override {
    mDocument = std::make_unique<DocumentFrame>(at, mResult, mMode);
    return mDocument.get();
  }
  void OnEnd(Position) override {}

 protected:
  std::string Expected() const override { return "the document object {\"output\": [...]}"; }

 private:
  OmOutputTree& mResult;
  ReadMode mMode;
  std::unique_ptr<DocumentFrame> mDocument;
};

std::string ReaderMessage(rapidjson::ParseErrorCode code) {
  std::string message = rapidjson::GetParseError_En(code);
  if (!message.empty() && message.back() == '.')
    message.pop_back();
  if (!message.empty() && message[0] >= 'A' && message[0] <= 'Z') {
    message[0] = static_cast<char>(message[0] - 'A' + 'a');
  }
  return "invalid JSON: " + message;
}

}  // namespace

std::optional<OmOutputTree> ReadInPlace(const char* text, OmMappedText* mapped, ReadMode mode) {
  mode.inPlace = true;
  try {
    OmOutputTree result;
    MappedStream stream(text, mapped);
    RootFrame root(result, mode);
    SaxHandler<MappedStream> handler(stream, root, kMaxInPlaceDepth);
    rapidjson::Reader reader;
    constexpr unsigned kFlags = rapidjson::kParseNumbersAsStringsFlag | rapidjson::kParseInsituFlag;
    if (!reader.Parse<kFlags>(stream, handler).IsError())
      return result;
  } catch (...) {
  }
  return std::nullopt;
}

}  // namespace omtext::loader

OmOutputTree OmDocumentLoader::Load(std::istream& in) {
  using namespace omtext::loader;
  OmOutputTree result;
  TrackingStream stream(in);
  RootFrame root(result, ReadMode());
  SaxHandler<TrackingStream> handler(stream, root);
  rapidjson::Reader reader;
  constexpr unsigned kFlags = rapidjson::kParseIterativeFlag |
                              rapidjson::kParseValidateEncodingFlag |
                              rapidjson::kParseNumbersAsStringsFlag;
  const rapidjson::ParseResult parsed = reader.Parse<kFlags>(stream, handler);
  if (stream.StoppedAtNul())
    Fail(stream.Here(), "the document holds a NUL byte");
  if (parsed.IsError()) {
    // The reader calls a raw control character in a string an invalid
    // escape; it stops in front of that character, behind a true escape.
    if (parsed.Code() == rapidjson::kParseErrorStringEscapeInvalid &&
        parsed.Offset() == stream.Tell() && static_cast<unsigned char>(stream.Peek()) < 0x20) {
      Fail(stream.At(parsed.Offset()),
           "invalid JSON: a control character in a string must be written as an escape");
    }
    Fail(stream.At(parsed.Offset()), ReaderMessage(parsed.Code()));
  }
  return result;
}

OmOutputTree OmDocumentLoader::LoadString(const std::string& text) {
  using namespace omtext::loader;
  if (!text.empty() && IsPlainUtf8(text.data(), text.size())) {
    if (std::optional<OmOutputTree> tree = ReadInPlace(text.c_str(), nullptr))
      return std::move(*tree);
  }
  std::istringstream in(text);
  return Load(in);
}

OmOutputTree OmDocumentLoader::LoadFile(const std::string& path) {
  using namespace omtext::loader;
  {
    OmMappedText text(path);
    if (text.Data() != nullptr && text.IsPlainUtf8()) {
      if (std::optional<OmOutputTree> tree = ReadInPlace(text.Data(), &text))
        return std::move(*tree);
    }
  }
  struct stat info {};
  if (::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode))
    throw std::system_error(EISDIR, std::generic_category());
  std::ifstream file(path, std::ios::binary);
  if (!file)
    throw std::system_error(errno, std::generic_category());
  return Load(file);
}
