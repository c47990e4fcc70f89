package android.media.tv.tuner.frontend;

import fake.Device;

public class DvbsCodeRate {
    private final long mInnerFec;
    private final boolean mIsLinear;
    private final boolean mIsShortFrames;
    private final int mBitsPer1000Symbol;

    public DvbsCodeRate(long innerFec, boolean isLinear, boolean isShortFrames, int bitsPer1000Symbol) {
        mInnerFec = innerFec;
        mIsLinear = isLinear;
        mIsShortFrames = isShortFrames;
        mBitsPer1000Symbol = bitsPer1000Symbol;
        Device.call(this, "<init>", innerFec, isLinear, isShortFrames, bitsPer1000Symbol);
    }

    @Override
    public String toString() {
        return "DvbsCodeRate(innerFec=" + mInnerFec
                + ", isLinear=" + mIsLinear
                + ", isShortFrames=" + mIsShortFrames
                + ", bitsPer1000Symbol=" + mBitsPer1000Symbol
                + ")";
    }
}
