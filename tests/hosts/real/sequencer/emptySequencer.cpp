// Preloaded: an ALSA sequencer to which nothing is connected, for machines whose kernel has none.
// Hosts that insist on MIDI start with it. Only functions of a sequencer's handle are replaced.

#include <poll.h>
#include <unistd.h>

#include <cerrno>

namespace {

int quiet[2] = {-1, -1};  // a pipe without a writer

}  // namespace

#pragma GCC visibility push(default)
extern "C" {

int snd_seq_open(void** sequencer, const char*, int, int) {
    *sequencer = quiet;
    return quiet[0] >= 0 ? 0 : pipe(quiet);
}
int snd_seq_poll_descriptors_count(void*, short) {
    return 1;
}
int snd_seq_poll_descriptors(void*, pollfd* descriptors, unsigned, short events) {
    descriptors[0] = {quiet[0], events, 0};
    return 1;
}
int snd_seq_client_id(void*) {
    return 128;
}
int snd_seq_event_input(void*, void** event) {
    *event = nullptr;
    return -EAGAIN;
}

// CMakeLists.txt lists the functions that are these.
int nothing(void*, ...) {
    return 0;
}
int missing(void*, ...) {
    return -ENOENT;
}

}  // extern "C"
#pragma GCC visibility pop
