#include "log/QNManageMutex.h"

#include <array>
#include <cstdio>

#include "log/RecordFormat.h"
#include "log/iLogger.h"
#include "platform/Surroundings.h"

namespace tlk {

namespace {

constexpr const char* kSource = "QNManageMutex";
constexpr std::int32_t kNoHandleLine = 59;
constexpr std::int32_t kFailedReleaseLine = 113;

}  // namespace

QNManageMutex::QNManageMutex(SystemMutex* handle, std::uint32_t& status, iLogger* logger,
                             const Platform& platform)
    : m_platform(platform), m_handle(handle), m_logger(logger) {
  if (m_handle != nullptr) {
    status = MutexStatus(m_handle->Wait(kNoLimit));
    return;
  }
  status = mutex_status::kNoHandle;
  if (m_logger != nullptr)
    m_logger->LogNormal(0, kPlainTextMessage, kSource, kNoHandleLine, "NULL mutex value passed in");
}

QNManageMutex::QNManageMutex(const char* name, std::uint32_t& status, const Platform& platform)
    : m_platform(platform),
      m_opened(OpenOrCreateMutex(platform.synchronisation, name, status)),
      m_handle(m_opened.get()),
      m_logger(nullptr) {
  if (m_handle != nullptr) status = MutexStatus(m_handle->Wait(kNoLimit));
}

QNManageMutex::~QNManageMutex() {
  if (m_handle == nullptr) m_platform.surroundings.DebugOutput("ERROR");
  Release();
}

void QNManageMutex::Release() {
  if (m_handle != nullptr && !m_handle->Release()) ReportFailedRelease();
  m_handle = nullptr;
}

void QNManageMutex::ReportFailedRelease() {
  if (m_logger == nullptr) return;
  std::array<char, 160> text{};
  std::snprintf(text.data(), text.size(),
                "QNManageMutex Release() - ReleaseMutex() failed mutex:%p.  GetLastError:%d",
                static_cast<const void*>(m_handle), m_platform.synchronisation.LastError());
  m_logger->LogError(0, kPlainTextMessage, kSource, kFailedReleaseLine, text.data());
}

}  // namespace tlk
