#include <array>

#include "hosts/cli/Command.h"
#include "hosts/cli/ParamsCommand.h"
#include "hosts/cli/TreeCommand.h"

namespace qov::cli {

std::span<const Command> commands() {
    static constexpr std::array table{
        Command{"params", "lists the parameters with address, range, default and unit", runParams},
        Command{"tree", "lists what is below a folder, as XML, list or dump", runTree},
    };
    return table;
}

}  // namespace qov::cli
