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

#define NOTHING(function, result) \
    int function(void*, ...) {    \
        return result;            \
    }

NOTHING(snd_seq_close, 0)
NOTHING(snd_seq_set_client_name, 0)
NOTHING(snd_seq_create_simple_port, 0)
NOTHING(snd_seq_delete_simple_port, 0)
NOTHING(snd_seq_get_port_info, 0)
NOTHING(snd_seq_set_port_info, 0)
NOTHING(snd_seq_alloc_queue, 0)
NOTHING(snd_seq_free_queue, 0)
NOTHING(snd_seq_control_queue, 0)
NOTHING(snd_seq_get_queue_status, 0)
NOTHING(snd_seq_get_queue_tempo, 0)
NOTHING(snd_seq_set_queue_tempo, 0)
NOTHING(snd_seq_set_queue_timer, 0)
NOTHING(snd_seq_drain_output, 0)
NOTHING(snd_seq_drop_output, 0)
NOTHING(snd_seq_drop_input, 0)
NOTHING(snd_seq_event_output, 0)
NOTHING(snd_seq_event_output_direct, 0)
NOTHING(snd_seq_event_input_pending, 0)
NOTHING(snd_seq_remove_events, 0)
NOTHING(snd_seq_subscribe_port, 0)
NOTHING(snd_seq_unsubscribe_port, 0)
NOTHING(snd_seq_free_event, 0)
NOTHING(snd_seq_get_any_client_info, -ENOENT)
NOTHING(snd_seq_get_any_port_info, -ENOENT)
NOTHING(snd_seq_query_next_client, -ENOENT)
NOTHING(snd_seq_query_next_port, -ENOENT)
NOTHING(snd_seq_query_port_subscribers, -ENOENT)

}  // extern "C"
#pragma GCC visibility pop
