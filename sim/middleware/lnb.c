#include "sim/middleware/lnb.h"

#include <pthread.h>
#include <stdio.h>
#include <time.h>

#include "mw/frontend.h"
#include "mw/frontend_values.h"

enum { PIPELINES = 8, DISEQC_OK = 0xe4 };

/* The reply that each pipeline waits for; -1: none yet. */
static struct {
    uint32_t h_pipeline;
    int reply;
} g_replies[PIPELINES];
static pthread_mutex_t g_lock = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t g_replied = PTHREAD_COND_INITIALIZER;

/* The pipeline's place, or a free one for 0; -1 for none. The lock is held. */
static int place_of(uint32_t h_pipeline) {
    for (int i = 0; i < PIPELINES; ++i) {
        if (g_replies[i].h_pipeline == h_pipeline) {
            return i;
        }
    }
    return -1;
}

static int on_message(unsigned int h_pipeline, const int8_t* pi1_message, int32_t i4_length) {
    pthread_mutex_lock(&g_lock);
    const int place = place_of(h_pipeline);
    if (place >= 0 && i4_length == 2 && (uint8_t)pi1_message[0] == DISEQC_OK) {
        g_replies[place].reply = (uint8_t)pi1_message[1];
        pthread_cond_broadcast(&g_replied);
    }
    pthread_mutex_unlock(&g_lock);
    return 0;
}

bool lnb_open(uint32_t h_pipeline) {
    pthread_mutex_lock(&g_lock);
    const int place = place_of(0);
    if (place >= 0) {
        g_replies[place].h_pipeline = h_pipeline;
    }
    pthread_mutex_unlock(&g_lock);
    return place >= 0 && x_native_frontend_require_lnb(h_pipeline) == 0 &&
           x_native_frontend_register_lnb_DiseqcMessage_callback(h_pipeline, on_message) == 0;
}

void lnb_close(uint32_t h_pipeline) {
    x_native_frontend_lnb_close(h_pipeline);
    pthread_mutex_lock(&g_lock);
    const int place = place_of(h_pipeline);
    if (place >= 0) {
        g_replies[place].h_pipeline = 0;
    }
    pthread_mutex_unlock(&g_lock);
}

/* Sends a message and waits until the switch repeats its last byte. */
static bool switch_over(uint32_t h_pipeline, unsigned char* message, int length) {
    struct timespec until;
    clock_gettime(CLOCK_REALTIME, &until);
    until.tv_sec += 2;
    pthread_mutex_lock(&g_lock);
    const int place = place_of(h_pipeline);
    g_replies[place].reply = -1;
    pthread_mutex_unlock(&g_lock);
    if (x_native_frontend_lnb_send_diseqcmessage(h_pipeline, message, length) != 0) {
        return false;
    }
    pthread_mutex_lock(&g_lock);
    int waiting = 0;
    while (g_replies[place].reply < 0 && waiting == 0) {
        waiting = pthread_cond_timedwait(&g_replied, &g_lock, &until);
    }
    const bool acknowledged = g_replies[place].reply == message[length - 1];
    pthread_mutex_unlock(&g_lock);
    return acknowledged;
}

bool lnb_select(uint32_t h_pipeline, bool horizontal, bool high_band, const LNB_SWITCH_T* pt_switch,
                char* text, size_t size) {
    const int voltage = horizontal ? MW_FE_LNB_VOLTAGE_18V : MW_FE_LNB_VOLTAGE_13V;
    const int tone = high_band ? MW_FE_LNB_TONE_CONTINUOUS : MW_FE_LNB_TONE_NONE;
    const int position = pt_switch->position ? MW_FE_LNB_POSITION_B : MW_FE_LNB_POSITION_A;
    /* Write to a committed switch, from the master, no reply of the bus itself needed. */
    unsigned char message[] = {
        0xe0, 0x10, 0x38,
        (unsigned char)(0xf0 | (pt_switch->option ? 8 : 0) | (pt_switch->position ? 4 : 0) |
                        (horizontal ? 2 : 0) | (high_band ? 1 : 0))};
    const bool done = x_native_frontend_lnb_set_voltage(h_pipeline, voltage) == 0 &&
                      x_native_frontend_lnb_set_tone(h_pipeline, tone) == 0 &&
                      x_native_frontend_lnb_set_SatellitePosition(h_pipeline, position) == 0 &&
                      x_native_frontend_lnb_get_voltage(h_pipeline) == voltage &&
                      x_native_frontend_lnb_get_tone(h_pipeline) == tone &&
                      x_native_frontend_lnb_get_SatellitePosition(h_pipeline) == position &&
                      switch_over(h_pipeline, message, (int)sizeof(message));
    snprintf(text, size, "%d V, tone %s, DiSEqC %02x %02x %02x %02x -> %s", horizontal ? 18 : 13,
             high_band ? "on" : "off", message[0], message[1], message[2], message[3],
             done ? "received e4" : "NO ANSWER");
    return done;
}
