#pragma once

#include <iconv.h>

#include <bit>
#include <cstddef>
#include <string>

namespace tlk {

/// UTF-16 as `char16_t` has it, as iconv names it.
inline constexpr const char* kUtf16 =
    std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";

/// One of iconv's converters between two character sets, for one caller at a time.
class Converter {
 public:
  /// How a step of a conversion ended.
  enum class Step { kDone, kNoRoom, kInvalid, kTruncated };

  /// Throws `std::bad_alloc` when the system has no converter to give at the moment.
  Converter(const std::string& to, const std::string& from);
  ~Converter();
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  /// False when the system does not know how to convert between the two. Nothing else may be called
  /// then.
  [[nodiscard]] bool IsKnown() const { return m_converter != kNone; }

  /// Forgets what an earlier text left behind.
  void Reset();

  /// Converts from `in` to `out`, as far as it can, and moves both along.
  Step Convert(const char*& in, std::size_t& inLeft, char*& out, std::size_t& outLeft);

  /// Writes out what the converter still holds back.
  Step Finish(char*& out, std::size_t& outLeft);

  /// Converts the few bytes of `in` as a text of their own, into the `room` bytes of `out`, and
  /// sets `written`.
  Step ConvertAlone(const void* in, std::size_t size, void* out, std::size_t room,
                    std::size_t& written);

 private:
  static inline const auto kNone = std::bit_cast<iconv_t>(std::intptr_t{-1});

  const iconv_t m_converter;
};

}  // namespace tlk
