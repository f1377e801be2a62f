#pragma once

#include <array>
#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>

namespace tlk::bench {

/// A message around a payload, with its stamp.
[[nodiscard]] inline std::string MessageWith(std::string_view payload) {
  constexpr std::string_view kHead = R"(<TLK_Message Length=")";
  constexpr std::string_view kBehindStamp =
      R"(" xmlns="" Type="Measurement"><From Id="0"/><To Id="17"/><Data>)";
  constexpr std::string_view kTail = "</Data></TLK_Message>";
  constexpr std::size_t kDigits = 7;
  const std::size_t size =
      kHead.size() + kDigits + kBehindStamp.size() + payload.size() + kTail.size();
  std::array<char, 32> stamp{};
  std::snprintf(stamp.data(), stamp.size(), "%07zu", size);

  std::string message;
  message.reserve(size);
  message.append(kHead).append(stamp.data()).append(kBehindStamp).append(payload).append(kTail);
  return message;
}

/// A payload of so many bytes: an element with some text.
[[nodiscard]] inline std::string PayloadOfSize(std::size_t size) {
  constexpr std::string_view kOpen = R"(<Item Id="4711">)";
  constexpr std::string_view kClose = "</Item>";
  std::string payload(kOpen);
  while (payload.size() + kClose.size() < size) payload += "some text "[payload.size() % 10];
  return payload.append(kClose);
}

/// A message of so many bytes.
[[nodiscard]] inline std::string MessageOfSize(std::size_t size) {
  return MessageWith(PayloadOfSize(size - MessageWith("").size()));
}

/// A message of at most so many bytes that is made of small elements.
[[nodiscard]] inline std::string ListMessage(std::size_t most) {
  std::string payload;
  payload.reserve(most);
  payload = "<List>";
  std::array<char, 64> entry{};
  const std::size_t room = most - MessageWith("</List>").size();
  for (int id = 1'000'000;; ++id) {
    std::snprintf(entry.data(), entry.size(), R"(<Item Id="%d">text %d</Item>)", id, id % 1000);
    if (payload.size() + std::string_view(entry.data()).size() > room) break;
    payload += entry.data();
  }
  return MessageWith(payload.append("</List>"));
}

}  // namespace tlk::bench
