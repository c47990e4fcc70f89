package com.halvorin.tv.velmora.services.pipeline;

/** A pipeline. The library holds only a weak reference, so the code that makes one must keep it. */
public class PipelineHandler {
    private final String mName;

    public PipelineHandler() {
        this("");
    }

    public PipelineHandler(String name) {
        mName = name;
    }

    @Override
    public String toString() {
        return "PipelineHandler(" + mName + ")";
    }
}
