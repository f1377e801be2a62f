#include "tools/tlk/log/SearchedText.h"

namespace tlk::log {

// The system has converted it.
std::string SearchedText(const std::string& word) { return word; }

}  // namespace tlk::log
