#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "hosts/cli/Command.h"
#include "platform/coregraphics/CGGeometry.h"

namespace CLI {
class App;
}

namespace qov::cli {

/// The arguments of one subcommand. First they are declared, each with the variable for its text or
/// switch, which outlives the parsing and keeps its value where the argument is not given.
class OptionParser {
 public:
    /// command: with the program's name, for messages. description and footer: for --help.
    OptionParser(const std::string& command, const std::string& description,
                 const std::string& footer = {});
    ~OptionParser();
    OptionParser(const OptionParser&) = delete;
    OptionParser& operator=(const OptionParser&) = delete;

    void addArgument(const std::string& name, std::string& text, const std::string& help);
    void addOptionalArgument(const std::string& name, std::string& text, const std::string& help);
    /// From `least` to `most`.
    void addArguments(const std::string& name, std::vector<std::string>& texts,
                      const std::string& help, int least = 0, int most = 1 << 29);
    /// type: what it takes, for --help. Given twice, the last one counts.
    void addOption(const std::string& name, std::string& text, const std::string& help,
                   const std::string& type);
    /// The same, where each one that is given counts.
    void addRepeatedOption(const std::string& name, std::vector<std::string>& texts,
                           const std::string& help, const std::string& type);
    /// names: one, or a short and a long one, as in "-q,--quiet".
    void addSwitch(const std::string& names, bool& isOn, const std::string& help);
    /// The option of every parameter, or of those only that hosts see. Its text goes to its place
    /// in `texts`, which has one for each parameter: see parseSettings().
    void addParameters(std::span<std::string> texts, bool onlyInTree);

    /// What parse() throws where an argument is missing.
    Failure missing(const std::string& argument) const;

    /// Returns the exit code if the command ends here (0 after --help), nothing if it goes on.
    /// Throws Failure (2) for wrong arguments, with the nearest option for an unknown one.
    std::optional<int> parse(const Arguments& arguments);

 private:
    std::unique_ptr<CLI::App> app_;
};

/// The number in an option's text. Throws Failure (2) that names option and range for another text
/// and for a number outside of it.
std::int64_t parseNumber(const std::string& option, const std::string& text, std::int64_t minimum,
                         std::int64_t maximum);
/// The same, with a fraction.
double parseNumber(const std::string& option, const std::string& text, double minimum,
                   double maximum);

/// The text of --size, "680x440", in points. Throws Failure (2) for another text and for a side
/// that is not 1..largest points long.
platform::CGSize parseSize(const std::string& text, int largest);

}  // namespace qov::cli
