/* What the rest of the box does for the middleware of the demo: everything that needs Java. */
#ifndef SIM_BOX_H
#define SIM_BOX_H

#include <stddef.h>
#include <stdint.h>

typedef struct {
    /* A pipeline handle, or 0; and its end. */
    uint32_t (*create_pipeline)(void);
    void (*destroy_pipeline)(uint32_t h_pipeline);
    /* The text of the settings that the pipeline's Java tuner received last, cut to size; "" for
     * none. */
    void (*received)(uint32_t h_pipeline, char* text, size_t size);
    /* The transport stream that section filters started from now on work on. */
    void (*set_stream)(const char* file);
    /* The stream that lies beside the demo. */
    const char* sample;
    /* Opens the log gate. */
    void (*set_log_level)(const char* level);
} BOX_T;

/* The middleware's main program; its result is the process's exit status. */
int middleware_main(const BOX_T* pt_box, int argc, char** argv);

#endif /* SIM_BOX_H */
