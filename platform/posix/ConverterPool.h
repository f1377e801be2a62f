#pragma once

#include <iconv.h>

#include <bit>
#include <cstdint>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace tlk {

/// Converters between two character sets, lent to one caller at a time each. There are as many as
/// there were callers at once.
class ConverterPool {
 public:
  /// How a step of a conversion ended.
  enum class Step { kDone, kNoRoom, kInvalid, kTruncated };

  /// One converter, for as long as the object lives.
  class Loan {
   public:
    explicit Loan(ConverterPool& pool) : m_pool(pool), m_converter(pool.Take()) {}
    ~Loan() { m_pool.GiveBack(m_converter); }
    Loan(const Loan&) = delete;
    Loan& operator=(const Loan&) = delete;

    /// False when the system has no converter to give.
    [[nodiscard]] bool IsValid() const { return m_converter != kNone; }

    /// Forgets what an earlier text left behind.
    void Reset();

    /// Converts from `in` to `out`, as far as it can, and moves both along.
    Step Convert(const char*& in, size_t& inLeft, char*& out, size_t& outLeft);

    /// Writes out what the converter still holds back.
    Step Finish(char*& out, size_t& outLeft);

   private:
    ConverterPool& m_pool;
    iconv_t m_converter;
  };

  ConverterPool(std::string to, std::string from) : m_to(std::move(to)), m_from(std::move(from)) {}
  ~ConverterPool();
  ConverterPool(const ConverterPool&) = delete;
  ConverterPool& operator=(const ConverterPool&) = delete;

 private:
  static inline const auto kNone = std::bit_cast<iconv_t>(std::intptr_t{-1});

  [[nodiscard]] iconv_t Take();
  void GiveBack(iconv_t converter);

  const std::string m_to;
  const std::string m_from;
  std::mutex m_mutex;
  std::vector<iconv_t> m_idle;
};

}  // namespace tlk
