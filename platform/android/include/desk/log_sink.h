// Desk only: where log lines and fatal assertions go instead of standard error.
#ifndef DESK_LOG_SINK_H
#define DESK_LOG_SINK_H

#ifdef __cplusplus
extern "C" {
#endif

// Called on the thread that logs; text is valid only during the call.
typedef void (*desk_log_sink_fct)(int prio, const char* tag, const char* text);

// Null restores standard error.
void desk_log_set_sink(desk_log_sink_fct sink) __attribute__((visibility("default")));

// Called for a fatal assertion, on its thread, before the process is ended; it need not return.
typedef void (*desk_fatal_handler_fct)(const char* cond, const char* tag, const char* text);
void desk_log_set_fatal_handler(desk_fatal_handler_fct handler)
    __attribute__((visibility("default")));

#ifdef __cplusplus
}
#endif

#endif  // DESK_LOG_SINK_H
