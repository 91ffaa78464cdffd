// Preloaded, it takes the JACK server away twice between a client's opening and its start.
#include <dlfcn.h>

extern "C" [[gnu::visibility("default")]] int jack_activate(void* client) {
    static int starts = 0;
    if (++starts <= 2) return -1;
    return reinterpret_cast<int (*)(void*)>(dlsym(RTLD_NEXT, "jack_activate"))(client);
}
