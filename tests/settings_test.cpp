// Settings: from the middleware's record to the platform's object and back.

#include <climits>
#include <cstddef>
#include <cstring>
#include <memory>

#include "mw/frontend.h"
#include "tests/bridge_test.h"

namespace {

using desk::bridge;
using Lines = std::vector<std::string>;

class SettingsTest : public desk::BridgeTest {
  protected:
    void SetUp() override {
        BridgeTest::SetUp();
        mPipeline = std::make_unique<desk::Pipeline>();
        bridge([&] { return x_native_frontend_require_tuner(mPipeline->handle()); });
        desk::takeCalls();
    }
    void TearDown() override {
        bridge([&] { return x_native_frontend_close_tuner(mPipeline->handle()); });
        mPipeline.reset();
        BridgeTest::TearDown();
    }

    int tune(MW_FESETTING_T* settings) {
        return bridge([&] { return x_native_frontend_tune(mPipeline->handle(), settings); });
    }

    // Tunes and scans; the object that both gave to Java, or "" when neither gave one.
    std::string translate(MW_FESETTING_T settings) {
        const MW_FESETTING_T before = settings;
        const int tuned = tune(&settings);
        const std::string tuneCall = desk::takeCalls();
        const int scanned =
            bridge([&] { return x_native_frontend_scan(mPipeline->handle(), &settings, 7); });
        const std::string scanCall = desk::takeCalls();
        EXPECT_EQ(0, memcmp(&before, &settings, sizeof(before))) << "the record was written";
        EXPECT_EQ(tuned, scanned);
        const size_t begin = tuneCall.find("onTune(");
        if (begin == std::string::npos) {
            EXPECT_EQ(-1, tuned);
            EXPECT_EQ(std::string::npos, scanCall.find("onScan("));
            return "";
        }
        const std::string object = tuneCall.substr(begin + 7, tuneCall.size() - begin - 8);
        EXPECT_NE(std::string::npos, scanCall.find("onScan(" + object + ", 7)"));
        return object;
    }

    std::unique_ptr<desk::Pipeline> mPipeline;
};

MW_FESETTING_T request(int32_t type, int32_t frequency) {
    MW_FESETTING_T settings;
    memset(&settings, 0x5a, sizeof(settings));
    settings.e_type = type;
    settings.mFrequency = frequency;
    return settings;
}

// Every argument has a value of its own, so that no two can change places unnoticed.
TEST_F(SettingsTest, EveryDeliverySystemReachesJavaArgumentByArgument) {
    MW_FESETTING_T settings = request(MW_FE_TYPE_ATSC, 473000000);
    settings.u.t_atsc = {4};
    EXPECT_EQ("AtscFrontendSettings(frequency=473000000, modulation=4)", translate(settings));

    settings = request(MW_FE_TYPE_DVBC, 394000000);
    settings.u.t_dvbc = {11, INT64_MIN + 12, 6900000, 13, 14, 15, 16, 17};
    EXPECT_EQ(
        "DvbcFrontendSettings(frequency=394000000, modulation=11, fec=-9223372036854775796, "
        "symbolRate=6900000, outerFec=13, annex=14, spectralInversion=15, interleaveMode=16, "
        "bandwidth=17)",
        translate(settings));

    settings = request(MW_FE_TYPE_DVBT, 474000000);
    settings.u.t_dvbt = {21, 22, 23, 24, 25, 26, 27, 1, 28, 0, 29, 30, 31};
    EXPECT_EQ(
        "DvbtFrontendSettings(frequency=474000000, transmissionMode=21, bandwidth=22, "
        "constellation=23, hierarchy=24, hpCodeRate=25, lpCodeRate=26, guardInterval=27, "
        "isHighPriority=true, standard=28, isMiso=false, plpMode=29, plpId=30, plpGroupId=31)",
        translate(settings));
    settings.u.t_dvbt.mIsHighPriority = 0;
    settings.u.t_dvbt.mIsMiso = 1;
    EXPECT_NE(std::string::npos,
              translate(settings).find("isHighPriority=false, standard=28, isMiso=true"));

    settings = request(MW_FE_TYPE_ISDBS, 1049480000);
    settings.u.t_isdbs = {41, 42, 43, 44, 28860000, 45};
    EXPECT_EQ(
        "IsdbsFrontendSettings(frequency=1049480000, streamId=41, streamIdType=42, "
        "modulation=43, codeRate=44, symbolRate=28860000, rolloff=45)",
        translate(settings));

    settings = request(MW_FE_TYPE_DTMB, 498000000);
    settings.u.t_dtmb = {51, 52, 53, 54, 55, 56};
    EXPECT_EQ(
        "DtmbFrontendSettings(frequency=498000000, modulation=51, codeRate=52, "
        "transmissionMode=53, guardInterval=54, timeInterleaveMode=55, bandwidth=56)",
        translate(settings));
}

TEST_F(SettingsTest, IsdbtTakesItsAreaFromTheFrontend) {
    MW_FESETTING_T settings = request(MW_FE_TYPE_ISDBT, 473142857);
    settings.u.t_isdbt = {61, 62, 63, 64, 65, 66};
    EXPECT_EQ(
        "IsdbtFrontendSettings(frequency=473142857, modulation=61, bandwidth=62, mode=63, "
        "codeRate=64, guardInterval=65, serviceAreaId=0)",
        translate(settings));
    desk::scriptReturns("onGetServiceAreaCode", 91);
    EXPECT_NE(std::string::npos, translate(settings).find("serviceAreaId=91"));
    desk::scriptReturns("onGetServiceAreaCode", -1);
    EXPECT_EQ("", translate(settings));
    desk::scriptThrows("onGetServiceAreaCode");
    EXPECT_EQ("", translate(settings));
}

TEST_F(SettingsTest, DvbsIsConvertedToHzAndSymbols) {
    MW_FE_DVBS_CODE_RATE_T rate = {INT64_MAX - 5, 1, 0, 77};
    MW_FESETTING_T settings = request(MW_FE_TYPE_DVBS, 1550);
    settings.mEndFrequency = 2100;
    settings.u.t_dvbs = {71, &rate, 27500, 72, 73, 74, 75, 76, 78, 1};
    const std::string tail =
        "symbolRate=27500000, rolloff=72, pilot=73, inputStreamId=74, "
        "standard=75, vcmMode=76, scanType=78, isDiseqcRxMessage=true, ";
    EXPECT_EQ(
        "DvbsFrontendSettings(frequency=1550000000, modulation=71, "
        "codeRate=DvbsCodeRate(innerFec=9223372036854775802, isLinear=true, "
        "isShortFrames=false, bitsPer1000Symbol=77), " +
            tail + "endFrequency=2100000000)",
        translate(settings));

    desk::setLogLevel("I");
    settings.u.t_dvbs.pt_code_rate = nullptr;
    settings.mEndFrequency = 0;
    EXPECT_EQ("DvbsFrontendSettings(frequency=1550000000, modulation=71, codeRate=null, " + tail +
                  "endFrequency=0)",
              translate(settings));
    EXPECT_EQ("I transMW2FrontendSettings, code rate is null, for blind scan.", desk::takeLog()[0]);

    // What does not fit in 32 bits: the frequency is refused, the others wrap.
    settings.mFrequency = 2147;
    settings.mEndFrequency = 2148;
    EXPECT_NE(std::string::npos, translate(settings).find("endFrequency=-2146967296"));
    desk::takeLog();
    for (const int32_t frequency : {2148, -2148, INT_MAX, INT_MIN}) {
        settings.mFrequency = frequency;
        EXPECT_EQ("", translate(settings)) << frequency;
        EXPECT_NE(std::string::npos, desk::takeLog()[0].find(std::to_string(frequency)));
    }
}

TEST_F(SettingsTest, WhatCannotBeTranslatedIsRefused) {
    desk::setLogLevel("E");
    for (const int32_t type : {INT_MIN, -1, 0, 1, 3, 8, 11, INT_MAX}) {
        MW_FESETTING_T settings = request(type, 1);
        EXPECT_EQ(-1, tune(&settings));
        EXPECT_EQ((Lines{"E transMW2FrontendSettings, type: " + std::to_string(type) +
                             ", not support by currently.",
                         "E tune, generate frontendsettings failed.",
                         "E x_native_frontend_tune, native tune fail: -1."}),
                  desk::takeLog());
    }
    EXPECT_EQ(-1, tune(nullptr));
    EXPECT_EQ("E transMW2FrontendSettings, argument is null.", desk::takeLog()[0]);
    EXPECT_EQ("", desk::takeCalls());
}

TEST_F(SettingsTest, ReadbackWritesOnlyWhatItNames) {
    struct Case {
        const char* settings;  // null: settings of another type
        const char* constructor;
        int32_t type;
        std::vector<size_t>
            fields;  // written besides type and frequency, in the order of the values
        std::vector<int32_t> values;
    };
    const Case cases[] = {
        {"Dvbt",
         "(IIIIIIIIZIZIII)V",
         6,
         {offsetof(MW_FESETTING_T, u.t_dvbt.mStandard),
          offsetof(MW_FESETTING_T, u.t_dvbt.mBandwidth)},
         {4, 16}},
        {"Isdbt", "(IIIIIII)V", 9, {offsetof(MW_FESETTING_T, u.t_isdbt.mBandwidth)}, {16}},
        {"Dtmb", "(IIIIIII)V", 10, {offsetof(MW_FESETTING_T, u.t_dtmb.mBandwidth)}, {16}},
        {"Atsc", "(II)V", 2, {}, {}},
        {"Dvbc", "(IIJIIIIII)V", 4, {}, {}},
        {"Dvbs", "(IILandroid/media/tv/tuner/frontend/DvbsCodeRate;IIIIIIIZ)V", 5, {}, {}},
        {"Isdbs", "(IIIIIII)V", 7, {}, {}},
        {nullptr, "(II)V", 3, {}, {}},
    };
    desk::scriptReturns("getStandard", 4);
    desk::scriptReturns("getBandwidth", 16);
    desk::scriptReturns("getFrequency", 1550000000);
    desk::setLogLevel("D");
    const jvalue arguments[16] = {};
    for (const Case& readback : cases) {
        SCOPED_TRACE(readback.type);
        const std::string name = readback.settings != nullptr
                                     ? std::string("android.media.tv.tuner.frontend.") +
                                           readback.settings + "FrontendSettings"
                                     : "tests.OtherFrontendSettings";
        const jclass clazz = desk::findClass(name);
        jvalue other[2];
        other[0].i = readback.type;
        other[1].i = 1;
        const jobject object = desk::env()->NewObjectA(
            clazz, desk::env()->GetMethodID(clazz, "<init>", readback.constructor),
            readback.settings != nullptr ? arguments : other);
        desk::scriptReturns("onGetFrontendSetting", object);
        MW_FESETTING_T expected;
        memset(&expected, 0xc3, sizeof(expected));
        MW_FESETTING_T record = expected;
        expected.e_type = readback.type;
        expected.mFrequency = 1550000000;
        for (size_t i = 0; i < readback.fields.size(); ++i) {
            memcpy(reinterpret_cast<char*>(&expected) + readback.fields[i], &readback.values[i], 4);
        }
        desk::takeLog();
        EXPECT_EQ(0, bridge([&] {
                      return x_native_frontend_get_frontend_setting(mPipeline->handle(), &record);
                  }));
        EXPECT_EQ(0, memcmp(&expected, &record, sizeof(record)));
        EXPECT_EQ(readback.settings == nullptr ? "D getFrontendSetting, not support e_type: 3."
                  : readback.fields.empty()    ? "D getFrontendSetting, mFrequency: 1550000000."
                                               : "D getFrontendSetting, mBandwidth: 16.",
                  desk::takeLog().back());
    }
}

TEST_F(SettingsTest, ReadbackThatFailsLeavesTheRecord) {
    desk::setLogLevel("E");
    MW_FESETTING_T record = request(77, 88);
    const MW_FESETTING_T before = record;
    const auto read = [&](MW_FESETTING_T* pt_record) {
        return bridge(
            [&] { return x_native_frontend_get_frontend_setting(mPipeline->handle(), pt_record); });
    };
    EXPECT_EQ(-1, read(nullptr));
    EXPECT_EQ((Lines{"E getFrontendSetting, pt_fesettings == NULL.",
                     "E x_native_frontend_get_frontend_setting, fail: -1."}),
              desk::takeLog());
    EXPECT_EQ(-1, read(&record));
    EXPECT_EQ("E getFrontendSetting, frontend settings is null.", desk::takeLog()[0]);
    desk::scriptThrows("onGetFrontendSetting");
    EXPECT_EQ(-1, read(&record));
    desk::scriptReturns("onGetFrontendSetting",
                        desk::newObject("tests.OtherFrontendSettings", 3, 4));
    desk::scriptThrows("getType");
    EXPECT_EQ(-1, read(&record));
    EXPECT_EQ(0, memcmp(&before, &record, sizeof(record)));
}

}  // namespace
