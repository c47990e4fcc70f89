// The floor of every crossing: straight-line code that does only what the described behaviour cannot
// do without. It acquires the environment, makes the same Java calls with the same arguments, tests
// for the exceptions that must not stay pending, deletes the references it made, asks the same
// services and takes the same locks; and for each log line that a call passes it reads the property
// twice and makes the one allocation. Identifiers are bound beforehand. Nothing is checked that the
// measured calls do right, and nothing is logged.

#ifndef BENCH_FLOOR_H
#define BENCH_FLOOR_H

#include <jni.h>

#include "mw/filter.h"
#include "mw/frontend.h"

#pragma GCC visibility push(default)
namespace floors {

// Binds everything, as loading the library does. The calling Java method's class loader knows the
// classes; the floor's natives stand in the nested classes of desk.BenchEvents.
jint load(JavaVM* vm);

// What one passed log line costs.
void gate();

// Each is the floor of the exported function whose name it resembles.

int requireTuner(unsigned int h_pipeline);
int closeTuner(unsigned int h_pipeline);
using WithSettings = int (*)(unsigned int h_pipeline, MW_FESETTING_T* settings);
WithSettings tune(MW_FE_TYPE_E system);
WithSettings scan(MW_FE_TYPE_E system);  // with scan type 1
int cancelTuning(unsigned int h_pipeline);
int cancelTuningUnguarded(
    unsigned int h_pipeline);  // neither lock nor count: no floor, a comparison
int cancelScanning(unsigned int h_pipeline);
int setLnaEnabled(unsigned int h_pipeline, int32_t enable);
int getStatus(unsigned int h_pipeline, const FE_STATUS_TYPE_E* types, uint8_t count,
              FE_STATUS_T* status);
int getSetting(unsigned int h_pipeline, MW_FESETTING_T* settings);
int requireLnb(unsigned int h_pipeline);
int setVoltage(unsigned int h_pipeline, int value);
int setTone(unsigned int h_pipeline, int value);
int setSatellitePosition(unsigned int h_pipeline, int value);
int getVoltage(unsigned int h_pipeline);
int getTone(unsigned int h_pipeline);
int getSatellitePosition(unsigned int h_pipeline);
int sendDiseqc(unsigned int h_pipeline, const unsigned char* message, int length);
int closeLnb(unsigned int h_pipeline);

int openFilter(unsigned int h_pipeline, int mainType, int subType, int64_t size,
               uint32_t* ph_filter, const FLT_EVT_CB_T* event, void* tag);
int closeFilter(uint32_t hfilter);
int startFilter(uint32_t hfilter);
int stopFilter(uint32_t hfilter);
int flushFilter(uint32_t hfilter);
int readFilter(uint32_t hfilter, int8_t* buffer, int64_t position, int64_t size);
int configureFilter(uint32_t hfilter, int value, uint8_t flag1, uint8_t flag2, uint8_t flag3,
                    const uint8_t* pattern1, const uint8_t* pattern2, const uint8_t* pattern3);
int createCallbackThread(uint32_t* ph_thread);
int deleteCallbackThread(uint32_t hthread);

void registerCallbacks(const FE_SCAN_CB_T& scan, fe_lnb_nfy_fct lnb, fe_lnb_diseqc_nfy_fct diseqc,
                       flt_section_nfy_fct section, flt_status_nfy_fct status);

}  // namespace floors
#pragma GCC visibility pop

#endif  // BENCH_FLOOR_H
