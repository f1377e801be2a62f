#include "platform/posix/ConverterPool.h"

#include <cerrno>

namespace tlk {
namespace {

ConverterPool::Step StepOf(size_t result) {
  if (result != static_cast<size_t>(-1)) return ConverterPool::Step::kDone;
  if (errno == E2BIG) return ConverterPool::Step::kNoRoom;
  if (errno == EINVAL) return ConverterPool::Step::kTruncated;
  return ConverterPool::Step::kInvalid;
}

}  // namespace

ConverterPool::~ConverterPool() {
  for (iconv_t converter : m_idle) iconv_close(converter);
}

iconv_t ConverterPool::Take() {
  {
    const std::lock_guard lock(m_mutex);
    if (!m_idle.empty()) {
      const iconv_t converter = m_idle.back();
      m_idle.pop_back();
      return converter;
    }
  }
  return iconv_open(m_to.c_str(), m_from.c_str());
}

void ConverterPool::GiveBack(iconv_t converter) {
  if (converter == kNone) return;
  const std::lock_guard lock(m_mutex);
  m_idle.push_back(converter);
}

void ConverterPool::Loan::Reset() { iconv(m_converter, nullptr, nullptr, nullptr, nullptr); }

ConverterPool::Step ConverterPool::Loan::Convert(const char*& in, size_t& inLeft, char*& out,
                                                 size_t& outLeft) {
  // iconv's prototype is older than const; it does not write through this pointer.
  return StepOf(iconv(m_converter, const_cast<char**>(&in), &inLeft, &out, &outLeft));
}

ConverterPool::Step ConverterPool::Loan::Finish(char*& out, size_t& outLeft) {
  return StepOf(iconv(m_converter, nullptr, nullptr, &out, &outLeft));
}

}  // namespace tlk
