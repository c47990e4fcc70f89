package com.halvorin.tv.velmora.services.selector.connectmanager;

/** Each returns 0 when the event reached the middleware, else -1. */
public class ZytTvInnerLnbCallback {
    public native int notifyLnbEvent(int pipeline, int type);

    public native int onDiseqcMessage(int pipeline, byte[] message, int length);
}
