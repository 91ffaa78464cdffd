#include "hosts/bundle/bodyFunction.h"

#include <dlfcn.h>
#include <pthread.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// Only the C library: an entry is opened by every scan, and stays small and quick.

namespace qov::hosts {
namespace {

void* body = nullptr;
char bodyPath[PATH_MAX];

void report(const char* what) {
    std::fprintf(stderr, "kelvane: %s; install the plug-in again\n", what);
}

/// The real place of the entry, as it was when it was loaded: a host may have named it by a link,
/// or from a folder that it has left since.
bool findBody() {
    Dl_info self;
    void* map = nullptr;
    char origin[PATH_MAX];
    char entry[2 * PATH_MAX];
    if (!dladdr1(reinterpret_cast<void*>(&findBody), &self, &map, RTLD_DL_LINKMAP)) return false;
    if (dlinfo(map, RTLD_DI_ORIGIN, origin)) return false;
    const char* slash = std::strrchr(self.dli_fname, '/');
    std::snprintf(entry, sizeof entry, "%s/%s", origin, slash ? slash + 1 : self.dli_fname);
    char real[PATH_MAX];
    if (!realpath(entry, real)) return false;
    *std::strrchr(real, '/') = 0;
    const int length = std::snprintf(bodyPath, sizeof bodyPath, "%s/kelvane-body.so", real);
    return length < static_cast<int>(sizeof bodyPath);
}

void load() {
    if (!findBody()) return report("the plug-in's own folder cannot be found");
    int flags = RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE;
#if !defined(KELVANE_SHALLOW_BINDING)
    // A host's own Cairo, of another version, stays out of ours. (A sanitizer must see
    // every allocation, and forbids it.)
    flags |= RTLD_DEEPBIND;
#endif
    body = dlopen(bodyPath, flags);
    if (!body) return report(dlerror());
    if (void* start = dlsym(body, "kelvane_start")) reinterpret_cast<void (*)()>(start)();
}

}  // namespace

void* bodyFunction(const char* name) {
    static pthread_once_t once = PTHREAD_ONCE_INIT;
    pthread_once(&once, load);
    if (!body) return nullptr;
    void* function = dlsym(body, name);
    if (!function) {
        char line[PATH_MAX + 128];
        std::snprintf(line, sizeof line, "%s lacks %s", bodyPath, name);
        report(line);
    }
    return function;
}

}  // namespace qov::hosts
