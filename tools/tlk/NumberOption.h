#pragma once

#include <CLI/CLI.hpp>
#include <charconv>
#include <limits>
#include <string>

#include "tools/tlk/Words.h"

namespace tlk {

/// Adds an option that is a whole number from `least` to `most`, and says so of any other.
template <typename Number>
CLI::Option* AddNumber(CLI::App& command, const std::string& name, Number& number,
                       const std::string& description, Number least,
                       Number most = std::numeric_limits<Number>::max()) {
  const auto read = [&number, name, least, most](const std::string& word) {
    const char* const end = word.data() + word.size();
    const auto [stop, code] = std::from_chars(word.data(), end, number);
    if (code == std::errc{} && stop == end && number >= least && number <= most) return;
    throw CLI::ValidationError(name + " must be a whole number from " + std::to_string(least) +
                               " to " + std::to_string(most) + ", not " + Quote(word));
  };
  return command.add_option_function<std::string>(name, read, description);
}

}  // namespace tlk
