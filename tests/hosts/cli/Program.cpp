#include "tests/hosts/cli/Program.h"

#include <sys/resource.h>
#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

Run shell(const std::string& command) {
    const TemporaryFolder folder;
    const auto out = folder / "out", err = folder / "err";
    setenv("K", KELVANE_PROGRAM, 1);
    const int status = std::system(("exec >" + out + " 2>" + err + "\n" + command).c_str());
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, contents(out), contents(err),
            usage.ru_maxrss};
}

std::string contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::string bigEndian(std::size_t value, int bytes, int bits) {
    std::string text;
    while (bytes-- > 0) text += static_cast<char>(value >> (bits * bytes) & ((1U << bits) - 1));
    return text;
}

void write(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}
