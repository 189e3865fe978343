// Reading fuzz input: a cursor over the bytes that hands out flags, small
// lengths, integers chosen among the values where width and page arithmetic
// is likeliest to go wrong, and strings. Running out of bytes yields zeros,
// so every input decodes to something.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>

namespace omtext::fuzz {

class FuzzInput {
 public:
  FuzzInput(const std::uint8_t* data, std::size_t size) : mData(data), mSize(size) {}

  std::uint8_t Byte() { return mPos < mSize ? mData[mPos++] : 0; }
  // The next byte without taking it; 0 at the end.
  std::uint8_t Peek() const { return mPos < mSize ? mData[mPos] : 0; }
  bool AtEnd() const { return mPos == mSize; }

  // A 32-bit option value: one byte picks either one of the extreme and
  // boundary values or a small non-negative number.
  std::int32_t Int32() {
    constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
    static constexpr std::int32_t kChoices[] = {kMin, kMin + 1, -1000,    -2,   -1,    0,      1,
                                                2,    3,        kMax - 1, kMax, 65536, 1 << 20};
    constexpr std::size_t kCount = sizeof kChoices / sizeof kChoices[0];
    const std::uint8_t b = Byte();
    if (b < kCount)
      return kChoices[b];
    return b - static_cast<std::int32_t>(kCount);
  }

  // A string of up to maxLength bytes, its length taken from one byte.
  std::string String(std::size_t maxLength) {
    std::size_t length = Byte() % (maxLength + 1);
    if (length > mSize - mPos)
      length = mSize - mPos;
    std::string text(reinterpret_cast<const char*>(mData + mPos), length);
    mPos += length;
    return text;
  }

  // Everything not yet read.
  std::string Rest() {
    std::string text(reinterpret_cast<const char*>(mData + mPos), mSize - mPos);
    mPos = mSize;
    return text;
  }

 private:
  const std::uint8_t* mData;
  std::size_t mSize;
  std::size_t mPos = 0;
};

}  // namespace omtext::fuzz
