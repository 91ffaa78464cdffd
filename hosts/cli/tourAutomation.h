#pragma once

#include <string_view>

namespace qov::cli {

/// The text of tour.automation, which is made for playPhrase().
std::string_view tourAutomation();

}  // namespace qov::cli
