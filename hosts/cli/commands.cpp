#include <array>

#include "hosts/cli/Command.h"
#include "hosts/cli/ParamsCommand.h"
#include "hosts/cli/RenderCommand.h"

namespace qov::cli {

std::span<const Command> commands() {
    static constexpr std::array table{
        Command{"render", "renders a sound file through the effect into another", runRender},
        Command{"params", "lists the parameters with address, range, default and unit", runParams},
    };
    return table;
}

}  // namespace qov::cli
