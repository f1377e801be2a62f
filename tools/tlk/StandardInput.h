#pragma once

#include <string>

namespace tlk {

/// Appends what standard input holds to `bytes`, waiting when it holds nothing; false at its end.
/// What is typed comes as narrow ANSI text.
bool ReadStandardInput(std::string& bytes);

/// Waits until something can be read, or it is at its end.
void WaitForStandardInput();

/// Whether somebody types at a terminal.
[[nodiscard]] bool StandardInputIsTerminal();

}  // namespace tlk
