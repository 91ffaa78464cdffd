#include "platform/foundation/Bundle.h"

#include <dlfcn.h>
#include <link.h>

#include <filesystem>

namespace platform {
namespace fs = std::filesystem;

namespace {

std::string pathOfThisModule() {
    static const char inThisModule = 0;
    Dl_info info{};
    void* map = nullptr;
    std::error_code failed;
    if (dladdr1(&inThisModule, &info, &map, RTLD_DL_LINKMAP) == 0) return {};
    const char* name = static_cast<const link_map*>(map)->l_name;
    const bool isExecutable = *name == '\0';  // the linker leaves the program's own name empty
    return (isExecutable ? fs::read_symlink("/proc/self/exe", failed) : fs::canonical(name, failed))
        .string();
}

}  // namespace

const Bundle& Bundle::main() {
    static const Bundle bundle(pathOfThisModule());
    return bundle;
}

std::optional<URL> Bundle::resourceURL() const {
    const fs::path module = modulePath_;
    if (!module.has_parent_path()) return {};
    const auto folder = module.parent_path();
    for (const auto& candidate :
         {folder / "Resources", folder.parent_path() / "share" / module.stem(), folder}) {
        std::error_code ignored;
        if (fs::is_directory(candidate, ignored)) {
            return URL::fileURLWithPath(candidate.string(), true);
        }
    }
    return {};
}

}  // namespace platform
