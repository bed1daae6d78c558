// Natural numbers that are large enough to compare doubles with decimal fractions exactly.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace neb::xml::internal {

class Natural {
 public:
  // The largest power of ten that is used has 1099 zeros, see decimal.cpp. It takes 3651 bits, and
  // a few more when it is shifted.
  static constexpr size_t kMostBits = 3840;

  explicit Natural(uint64_t value) {
    for (; value != 0; value >>= kWordBits) words_[count_++] = static_cast<uint32_t>(value);
  }
  Natural(const Natural &) = delete;
  Natural &operator=(const Natural &) = delete;

  // Multiplies by a factor and adds a number.
  void multiply(uint32_t factor, uint32_t added = 0) {
    uint64_t carry = added;
    for (size_t i = 0; i < count_; ++i) {
      carry += uint64_t{words_[i]} * factor;
      words_[i] = static_cast<uint32_t>(carry);
      carry >>= kWordBits;
    }
    if (carry != 0) words_[count_++] = static_cast<uint32_t>(carry);
  }

  void multiplyByPowerOfTen(size_t exponent) {
    constexpr size_t kZeros = 9;
    constexpr uint32_t kPower = 1'000'000'000;
    for (; exponent >= kZeros; exponent -= kZeros) multiply(kPower);
    for (; exponent > 0; --exponent) multiply(10);
  }

  void shiftLeft(size_t bits) {
    multiply(uint32_t{1} << bits % kWordBits);
    const size_t words = bits / kWordBits;
    if (words == 0 || count_ == 0) return;
    std::copy_backward(words_, words_ + count_, words_ + count_ + words);
    std::fill_n(words_, words, 0);
    count_ += words;
  }

  void add(const Natural &other) {
    uint64_t carry = 0;
    const size_t most = std::max(count_, other.count_);
    for (size_t i = 0; i < most; ++i) {
      carry += uint64_t{wordAt(i)} + other.wordAt(i);
      words_[i] = static_cast<uint32_t>(carry);
      carry >>= kWordBits;
    }
    count_ = most;
    if (carry != 0) words_[count_++] = static_cast<uint32_t>(carry);
  }

  // Subtracts a number that is not larger.
  void subtract(const Natural &other) {
    uint64_t borrow = 0;
    for (size_t i = 0; i < count_; ++i) {
      const uint64_t difference = uint64_t{words_[i]} - other.wordAt(i) - borrow;
      words_[i] = static_cast<uint32_t>(difference);
      borrow = difference >> kWordBits != 0 ? 1 : 0;
    }
    while (count_ > 0 && words_[count_ - 1] == 0) --count_;
  }

  // Below 0, 0, or above 0.
  int compare(const Natural &other) const {
    if (count_ != other.count_) return count_ < other.count_ ? -1 : 1;
    size_t i = count_;
    while (i > 0 && words_[i - 1] == other.words_[i - 1]) --i;
    if (i == 0) return 0;
    return words_[i - 1] < other.words_[i - 1] ? -1 : 1;
  }

  bool isZero() const { return count_ == 0; }

  size_t bitLength() const {
    return isZero() ? 0 : count_ * kWordBits - static_cast<size_t>(std::countl_zero(top()));
  }

 private:
  static constexpr size_t kWordBits = 32;

  uint32_t top() const { return words_[count_ - 1]; }
  uint32_t wordAt(size_t i) const { return i < count_ ? words_[i] : 0; }

  size_t count_ = 0;  // of the words that are set; the highest of them is not 0
  uint32_t words_[kMostBits / kWordBits];
};

}  // namespace neb::xml::internal
