package com.halvorin.tv.velmora.services.pipeline;

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
