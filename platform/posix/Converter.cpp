#include "platform/posix/Converter.h"

#include <cerrno>
#include <new>

namespace tlk {
namespace {

Converter::Step StepOf(size_t result) {
  if (result != static_cast<size_t>(-1)) return Converter::Step::kDone;
  if (errno == E2BIG) return Converter::Step::kNoRoom;
  if (errno == EINVAL) return Converter::Step::kTruncated;
  return Converter::Step::kInvalid;
}

}  // namespace

Converter::Converter(const std::string& to, const std::string& from)
    : m_converter(iconv_open(to.c_str(), from.c_str())) {
  if (!IsKnown() && errno != EINVAL) throw std::bad_alloc();
}

Converter::~Converter() {
  if (IsKnown()) iconv_close(m_converter);
}

void Converter::Reset() { iconv(m_converter, nullptr, nullptr, nullptr, nullptr); }

Converter::Step Converter::Convert(const char*& in, size_t& inLeft, char*& out, size_t& outLeft) {
  // iconv's prototype is older than const; it does not write through this pointer.
  return StepOf(iconv(m_converter, const_cast<char**>(&in), &inLeft, &out, &outLeft));
}

Converter::Step Converter::Finish(char*& out, size_t& outLeft) {
  return StepOf(iconv(m_converter, nullptr, nullptr, &out, &outLeft));
}

Converter::Step Converter::ConvertAlone(const void* in, size_t size, void* out, size_t room,
                                        size_t& written) {
  Reset();
  const char* from = static_cast<const char*>(in);
  char* to = static_cast<char*>(out);
  size_t left = room;
  const Step step = Convert(from, size, to, left);
  const Step end = step == Step::kDone ? Finish(to, left) : step;
  written = room - left;
  return end;
}

}  // namespace tlk
