// The status query. The record is looked at by raw offsets: they are what the middleware was
// compiled with.

#include <array>
#include <cstring>
#include <memory>

#include "mw/frontend.h"
#include "tests/bridge_test.h"

namespace {

using desk::bridge;
using desk::Call;
using desk::Failure;
using Lines = std::vector<std::string>;
using Record = std::array<unsigned char, 256>;

struct Kind {
    int type;
    const char* getter;
    size_t offset;
    char result;  // as in a JNI signature
};

const Kind kKinds[] = {
    {0, "isDemodLocked", 0, 'Z'},
    {1, "getSnr", 4, 'I'},
    {2, "getBer", 8, 'I'},
    {3, "getPer", 12, 'I'},
    {4, "getPerBer", 16, 'I'},
    {5, "getSignalQuality", 20, 'I'},
    {6, "getSignalStrength", 24, 'I'},
    {7, "getSymbolRate", 28, 'I'},
    {8, "getInnerFec", 32, 'J'},
    {9, "getModulation", 40, 'I'},
    {10, "getSpectralInversion", 88, 'I'},
    {11, "getLnbVoltage", 92, 'I'},
    {12, "getPlpId", 96, 'I'},
    {13, "isEwbs", 100, 'Z'},
    {14, "getAgc", 104, 'I'},
    {15, "isLnaOn", 108, 'Z'},
    {17, "getMer", 120, 'I'},
    {18, "getFreqOffset", 124, 'I'},
    {19, "getHierarchy", 128, 'I'},
    {20, "isRfLocked", 180, 'Z'},
    {22, "getExtendedModulations", 44, '['},
    {24, "getCodeRates", 136, '['},
    {25, "getBandwidth", 132, 'I'},
    {29, "getSystemId", 196, 'I'},
    {33, "getRollOff", 200, 'I'},
};

class StatusTest : public desk::BridgeTest {
  protected:
    void SetUp() override {
        BridgeTest::SetUp();
        mPipeline = std::make_unique<desk::Pipeline>();
        bridge([&] { return x_native_frontend_require_tuner(mPipeline->handle()); });
        mStatus = desk::newObject("android.media.tv.tuner.frontend.FrontendStatus");
        ASSERT_NE(nullptr, mStatus);
        desk::scriptReturns("onGetFrontendStatus", mStatus);
        desk::takeCalls();
        mRecord.fill(0xa5);
    }
    void TearDown() override {
        bridge([&] { return x_native_frontend_close_tuner(mPipeline->handle()); });
        mPipeline.reset();
        BridgeTest::TearDown();
    }

    int query(std::vector<int32_t> types) {
        return bridge([&] {
            return x_native_frontend_get_frontend_status(
                mPipeline->handle(), reinterpret_cast<FE_STATUS_TYPE_E*>(types.data()),
                static_cast<unsigned char>(types.size()),
                reinterpret_cast<FE_STATUS_T*>(mRecord.data()));
        });
    }

    void put(Record& record, size_t offset, int64_t value, size_t size) {
        memcpy(record.data() + offset, &value, size);
    }

    void answerList(const char* getter, int length) {
        std::vector<jint> values;
        for (int i = 0; i < length; ++i) {
            values.push_back(100 + i);
        }
        desk::scriptReturns(getter, desk::newArray(values));
    }

    std::unique_ptr<desk::Pipeline> mPipeline;
    jobject mStatus = nullptr;
    alignas(8) Record mRecord;
};

TEST_F(StatusTest, EachKindIsStoredInItsFieldAndNowhereElse) {
    for (const Kind& kind : kKinds) {
        SCOPED_TRACE(kind.getter);
        mRecord.fill(0xa5);
        Record expected = mRecord;
        switch (kind.result) {
            case 'Z':
                desk::scriptReturns(kind.getter, true);
                put(expected, kind.offset, 1, 1);
                break;
            case 'I':
                desk::scriptReturns(kind.getter, -1000 - kind.type);
                put(expected, kind.offset, -1000 - kind.type, 4);
                break;
            case 'J':
                desk::scriptReturns(kind.getter, INT64_C(0x123456789abcdef0));
                put(expected, kind.offset, INT64_C(0x123456789abcdef0), 8);
                break;
            default:
                answerList(kind.getter, 2);
                put(expected, kind.offset, 100, 4);
                put(expected, kind.offset + 4, 101, 4);
                put(expected, kind.offset + 40, 2, 4);
        }
        EXPECT_EQ(0, query({kind.type}));
        EXPECT_EQ(expected, mRecord);
    }
}

TEST_F(StatusTest, ListsOfUpToNineAreCopied) {
    for (const Kind& kind : {kKinds[20], kKinds[21]}) {
        for (const int length : {0, 1, 9, 10, 12}) {
            SCOPED_TRACE(std::string(kind.getter) + " " + std::to_string(length));
            mRecord.fill(0xa5);
            Record expected = mRecord;
            answerList(kind.getter, length);
            for (int i = 0; i < length && length <= 9; ++i) {
                put(expected, kind.offset + 4 * static_cast<size_t>(i), 100 + i, 4);
            }
            put(expected, kind.offset + 40, length, 4);
            EXPECT_EQ(0, query({kind.type}));
            EXPECT_EQ(expected, mRecord);
        }
        mRecord.fill(0xa5);
        const Record untouched = mRecord;
        desk::failCall(Call::GetIntArrayElements, 1, Failure::kThrows);
        EXPECT_EQ(0, query({kind.type}));
        desk::scriptReturns(kind.getter, nullptr);
        EXPECT_EQ(0, query({kind.type}));
        EXPECT_EQ(untouched, mRecord);
    }
}

TEST_F(StatusTest, RequestsReachJavaInOrderWithTheirFlaws) {
    desk::setLogLevel("D");
    desk::scriptReturns("isDemodLocked", true);
    desk::scriptReturns("getSnr", 7);
    Record expected = mRecord;
    put(expected, 0, 1, 1);
    put(expected, 4, 7, 4);
    EXPECT_EQ(0, query({0, 16, 1, 40, -5, 1}));
    EXPECT_EQ(expected, mRecord);
    EXPECT_EQ("ZytTvInnerFrontend#1.onGetFrontendStatus(int[6]0,16,1,40,-5,1)", desk::takeCalls());
    const Lines log = desk::takeLog();
    ASSERT_EQ(19u, log.size());  // the length; each type twice; a line each
    EXPECT_EQ("D start getFrontendStatus, type len: 6", log[0]);
    EXPECT_EQ("D getFrontendStatus, CallBooleanMethod mIsDemodLocked: 1.", log[8]);
    EXPECT_EQ("D getFrontendStatus, unsupport type: 16.", log[10]);
    EXPECT_EQ("D getFrontendStatus, mSnr: 7.", log[12]);
    EXPECT_EQ("D getFrontendStatus, mSnr: 7.", log[18]);
}

TEST_F(StatusTest, GetterThatThrowsLeavesZeroAndTheQueryGoesOn) {
    desk::setLogLevel("E");
    for (const Kind& kind : kKinds) {
        if (kind.type == 1) {
            continue;
        }
        SCOPED_TRACE(kind.getter);
        mRecord.fill(0xa5);
        Record expected = mRecord;
        desk::scriptThrows(kind.getter);
        desk::scriptReturns("getSnr", 9);
        if (kind.result != '[') {
            put(expected, kind.offset, 0, kind.result == 'Z' ? 1 : kind.result == 'I' ? 4 : 8);
        }
        put(expected, 4, 9, 4);
        desk::takeLog();
        EXPECT_EQ(0, query({kind.type, 1}));
        EXPECT_EQ(expected, mRecord);
        EXPECT_EQ("E getFrontendStatus, catch exception, type:" + std::to_string(kind.type),
                  desk::takeLog().back());
    }
}

TEST_F(StatusTest, RefusedQueriesWriteNothing) {
    const Record untouched = mRecord;
    desk::setLogLevel("E");
    const uint32_t h = mPipeline->handle();
    FE_STATUS_TYPE_E types[1] = {FE_STATUS_TYPE_SNR};
    FE_STATUS_T* record = reinterpret_cast<FE_STATUS_T*>(mRecord.data());
    EXPECT_EQ(-1, query({}));
    EXPECT_EQ(-1, query(std::vector<int32_t>(35, 1)));
    EXPECT_EQ("E getFrontendStatus, ui1_len: 35, error.", desk::takeLog()[2]);
    EXPECT_EQ(-1, x_native_frontend_get_frontend_status(h, nullptr, 1, record));
    EXPECT_EQ(-1, x_native_frontend_get_frontend_status(h, types, 1, nullptr));
    EXPECT_EQ("E getFrontendStatus, pi4_type == NULL || pt_festatus == NULL.", desk::takeLog()[0]);
    EXPECT_EQ("", desk::takeCalls());
    desk::takeLog();
    desk::scriptReturns("onGetFrontendStatus", nullptr);
    EXPECT_EQ(-1, query({1}));
    EXPECT_EQ((Lines{"E getFrontendStatus, get frontend info is null.",
                     "E x_native_frontend_get_frontend_status, fail: -1."}),
              desk::takeLog());
    desk::scriptThrows("onGetFrontendStatus");
    EXPECT_EQ(-1, query({1}));
    EXPECT_EQ(untouched, mRecord);
    desk::scriptReturns("onGetFrontendStatus", mStatus);
    EXPECT_EQ(0, query(std::vector<int32_t>(34, 1)));
}

}  // namespace
