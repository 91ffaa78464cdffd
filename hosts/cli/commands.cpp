#include "hosts/cli/Command.h"

namespace qov::cli {

std::span<const Command> commands() {
    return {};
}

}  // namespace qov::cli
