#include <cutils/properties.h>
#include <signal.h>

#include <cstdlib>
#include <cstring>
#include <iterator>

#include "bench/floor.h"
#include "bench/floor_java.h"

#define SERVICES "com/halvorin/tv/velmora/services/"
#define TUNER "android/media/tv/tuner/frontend/"

namespace floors {

Ids gIds;
JavaVM* gVm;

void gate() {
    static constexpr char kProperty[] = "vendor.zyt.broadcast.log.level";
    static constexpr char kPersist[] = "persist.";
    char text[PROPERTY_VALUE_MAX];
    property_get(kProperty, text, "");
    char* name = static_cast<char*>(malloc(sizeof(kPersist) + sizeof(kProperty) - 1));
    memcpy(name, kPersist, sizeof(kPersist) - 1);
    memcpy(name + sizeof(kPersist) - 1, kProperty, sizeof(kProperty));
    property_get(name, text, "");
    free(name);
}

namespace {

struct MethodRow {
    jmethodID* id;
    const char* name;
    const char* signature;
};

constexpr MethodRow kFrontend[] = {
    {&gIds.newFrontend, "<init>", "(L" SERVICES "pipeline/PipelineHandler;)V"},
    {&gIds.tune, "onTune", "(L" TUNER "FrontendSettings;)I"},
    {&gIds.cancelTuning, "onCancelTuning", "()I"},
    {&gIds.setNativeHandle, "onSetNativeHandle", "(I)V"},
    {&gIds.openFrontend, "onOpenFrontend", "()I"},
    {&gIds.closeFrontend, "onCloseFrontend", "()I"},
    {&gIds.scan, "onScan", "(L" TUNER "FrontendSettings;I)I"},
    {&gIds.cancelScanning, "onCancelScanning", "()I"},
    {&gIds.areaCode, "onGetServiceAreaCode", "()I"},
    {&gIds.setLna, "onSetLnaEnabled", "(Z)I"},
    {&gIds.status, "onGetFrontendStatus", "([I)L" TUNER "FrontendStatus;"},
    {&gIds.setting, "onGetFrontendSetting", "()L" TUNER "FrontendSettings;"},
    {&gIds.openLnb, "onOpenLnb", "()I"},
    {&gIds.setVoltage, "onSetVoltage", "(I)I"},
    {&gIds.setTone, "onSetTone", "(I)I"},
    {&gIds.setPosition, "onSetSatellitePosition", "(I)I"},
    {&gIds.getVoltage, "onGetVoltage", "()I"},
    {&gIds.getTone, "onGetTone", "()I"},
    {&gIds.getPosition, "onGetSatellitePosition", "()I"},
    {&gIds.sendDiseqc, "onSendDiseqcMessage", "([B)I"},
    {&gIds.closeLnb, "onLnbClose", "()V"},
};
constexpr MethodRow kSettings[] = {
    {&gIds.setEndFrequency, "setEndFrequency", "(I)V"},
    {&gIds.getFrequency, "getFrequency", "()I"},
    {&gIds.getType, "getType", "()I"},
};
constexpr MethodRow kDtmb[] = {
    {&gIds.newDtmb, "<init>", "(IIIIIII)V"},
    {&gIds.dtmbBandwidth, "getBandwidth", "()I"},
};
constexpr MethodRow kDvbt[] = {
    {&gIds.newDvbt, "<init>", "(IIIIIIIIZIZIII)V"},
    {&gIds.dvbtStandard, "getStandard", "()I"},
    {&gIds.dvbtBandwidth, "getBandwidth", "()I"},
};
constexpr MethodRow kDvbc[] = {
    {&gIds.newDvbc, "<init>", "(IIJIIIIII)V"},
    {&gIds.dvbcBandwidth, "getBandwidth", "()I"},
};
constexpr MethodRow kDvbs[] = {
    {&gIds.newDvbs, "<init>", "(IIL" TUNER "DvbsCodeRate;IIIIIIIZ)V"},
};
constexpr MethodRow kCodeRate[] = {{&gIds.newCodeRate, "<init>", "(JZZI)V"}};
constexpr MethodRow kIsdbt[] = {
    {&gIds.newIsdbt, "<init>", "(IIIIIII)V"},
    {&gIds.isdbtBandwidth, "getBandwidth", "()I"},
};
constexpr MethodRow kIsdbs[] = {{&gIds.newIsdbs, "<init>", "(IIIIIII)V"}};
constexpr MethodRow kAtsc[] = {{&gIds.newAtsc, "<init>", "(II)V"}};
constexpr MethodRow kStatus[] = {
#define KIND(type, getter, signature, call, field) {&gIds.getters[kGet_##type], getter, signature},
#define LIST(type, getter, field) {&gIds.getters[kGet_##type], getter, "()[I"},
    FLOOR_STATUS(KIND, LIST)
#undef KIND
#undef LIST
};
constexpr MethodRow kFilter[] = {
    {&gIds.newFilter, "<init>", "(L" SERVICES "pipeline/PipelineHandler;)V"},
    {&gIds.setFilterHandle, "setNativeHandle", "(I)V"},
    {&gIds.openFilter, "onOpenFilter",
     "(IIJL" SERVICES "selector/connectmanager/ZytTvInnerFilterCallbackThread;)I"},
    {&gIds.closeFilter, "onCloseFilter", "()I"},
    {&gIds.configure, "onSetSectionConfig", "(IZZZ[B[B[B)I"},
    {&gIds.start, "onStart", "()I"},
    {&gIds.read, "onRead", "([BJJ)I"},
    {&gIds.flush, "onFlush", "()I"},
    {&gIds.stop, "onStop", "()I"},
};
constexpr MethodRow kThread[] = {
    {&gIds.newThread, "<init>", "()V"},
    {&gIds.releaseThread, "release", "()V"},
};

struct ClassRow {
    const char* name;
    jclass* clazz;
    const MethodRow* methods;
    size_t count;
};
constexpr ClassRow kFrontendClasses[] = {
    {SERVICES "selector/connectmanager/ZytTvInnerFrontend", &gIds.frontend, kFrontend,
     std::size(kFrontend)},
    {TUNER "FrontendSettings", &gIds.settings, kSettings, std::size(kSettings)},
    {TUNER "DtmbFrontendSettings", &gIds.dtmb, kDtmb, std::size(kDtmb)},
    {TUNER "DvbtFrontendSettings", &gIds.dvbt, kDvbt, std::size(kDvbt)},
    {TUNER "DvbcFrontendSettings", &gIds.dvbc, kDvbc, std::size(kDvbc)},
    {TUNER "DvbsFrontendSettings", &gIds.dvbs, kDvbs, std::size(kDvbs)},
    {TUNER "DvbsCodeRate", &gIds.codeRate, kCodeRate, std::size(kCodeRate)},
    {TUNER "IsdbtFrontendSettings", &gIds.isdbt, kIsdbt, std::size(kIsdbt)},
    {TUNER "IsdbsFrontendSettings", &gIds.isdbs, kIsdbs, std::size(kIsdbs)},
    {TUNER "AtscFrontendSettings", &gIds.atsc, kAtsc, std::size(kAtsc)},
    {TUNER "FrontendStatus", &gIds.statusClass, kStatus, std::size(kStatus)},
};
constexpr ClassRow kFilterClass = {SERVICES "selector/connectmanager/ZytTvInnerFilter",
                                   &gIds.filter, kFilter, std::size(kFilter)};
constexpr ClassRow kThreadClass = {SERVICES
                                   "selector/connectmanager/ZytTvInnerFilterCallbackThread",
                                   &gIds.thread, kThread, std::size(kThread)};

bool bind(JNIEnv* env, const ClassRow& row) {
    jclass local = env->FindClass(row.name);
    if (local == nullptr) {
        return false;
    }
    *row.clazz = static_cast<jclass>(env->NewGlobalRef(local));
    for (size_t i = 0; i < row.count; ++i) {
        const MethodRow& method = row.methods[i];
        *method.id = env->GetMethodID(local, method.name, method.signature);
        if (*method.id == nullptr) {
            return false;
        }
    }
    env->DeleteLocalRef(local);
    return true;
}

bool registerNatives(JNIEnv* env, const char* name, const JNINativeMethod* natives, int count) {
    jclass local = env->FindClass(name);
    if (local == nullptr || env->RegisterNatives(local, natives, count) < 0) {
        return false;
    }
    env->DeleteLocalRef(local);
    return true;
}

}  // namespace

jint load(JavaVM* vm) {
    void* address = nullptr;
    if (vm->GetEnv(&address, JNI_VERSION_1_4) != JNI_OK) {
        return -1;
    }
    JNIEnv* env = static_cast<JNIEnv*>(address);
    if (!registerNatives(env, "desk/BenchEvents$FloorScan", kScanNatives, 12) ||
        !registerNatives(env, "desk/BenchEvents$FloorLnb", kLnbNatives, 2)) {
        return -1;
    }
    for (const ClassRow& row : kFrontendClasses) {
        if (!bind(env, row)) {
            return -1;
        }
    }
    if (!registerNatives(env, "desk/BenchEvents$FloorFilter", kFilterNatives, 3)) {
        return -1;
    }
    for (const ClassRow* row : {&kFilterClass, &kThreadClass}) {
        if (!bind(env, *row)) {
            return -1;
        }
        gate();
    }
    gVm = vm;
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    return JNI_VERSION_1_4;
}

}  // namespace floors
