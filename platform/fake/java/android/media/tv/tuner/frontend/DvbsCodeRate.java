package android.media.tv.tuner.frontend;

import fake.Values;

public class DvbsCodeRate extends Values {
    private DvbsCodeRate(long innerFec, boolean isLinear, boolean isShortFrames,
            int bitsPer1000Symbol) {
        super("innerFec, isLinear, isShortFrames, bitsPer1000Symbol", innerFec, isLinear,
                isShortFrames, bitsPer1000Symbol);
    }
}
