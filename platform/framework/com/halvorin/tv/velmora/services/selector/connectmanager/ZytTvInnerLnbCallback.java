package com.halvorin.tv.velmora.services.selector.connectmanager;

/**
 * The events of all LNBs. Any Java thread may report them, even from inside a method of a frontend.
 * Each method returns when the middleware's function has returned, which may call C again. The
 * result is 0 when the event reached the middleware, else -1.
 */
public class ZytTvInnerLnbCallback {
    public native int notifyLnbEvent(int pipeline, int type);

    public native int onDiseqcMessage(int pipeline, byte[] message, int length);
}
