#include <array>

#include "hosts/cli/Command.h"

namespace qov::cli {

std::span<const Command> commands() {
    static constexpr std::array table{
        Command{"render", "renders a sound file through the effect into another", runRender},
        Command{"demo", "plays a phrase, takes it on a tour of the effect and draws both", runDemo},
        Command{"field", "draws the stereo field of one or two sound files", runField},
        Command{"measure", "prints correlation, levels, loudness and delay of sound files",
                runMeasure},
#ifdef KELVANE_APP
        Command{"app", "opens the effect with its editor in a window, as a JACK client", runApp},
#endif
        Command{"snapshot", "draws the editor, or one of its views, as it plays a file",
                runSnapshot},
        Command{"params", "lists the parameters with address, range, default and unit", runParams},
        Command{"presets", "lists the presets, or saves one of your own", runPresets},
    };
    return table;
}

}  // namespace qov::cli
