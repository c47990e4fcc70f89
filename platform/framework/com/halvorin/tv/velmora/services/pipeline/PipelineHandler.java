package com.halvorin.tv.velmora.services.pipeline;

/** A pipeline: the library refers to it weakly, and so whoever makes one keeps it. */
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
