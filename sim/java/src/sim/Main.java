package sim;

import com.halvorin.tv.velmora.services.pipeline.PipelineHandler;
import com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerFilter;
import com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerFilterCallbackThread;
import fake.Device;
import fake.Loader;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collections;
import java.util.List;

/** The set-top box: loads the library as on a device, and runs the middleware. */
public final class Main {
    private static final SimulatedTuner TUNER = new SimulatedTuner();
    private static final SimulatedDemux DEMUX = new SimulatedDemux();
    /** Keeps the pipelines alive: native code has only weak references to them. */
    private static final List<PipelineHandler> PIPELINES =
            Collections.synchronizedList(new ArrayList<>());

    private Main() {}

    private static native int middleware(String[] args);

    static PipelineHandler createPipeline() {
        final PipelineHandler pipeline = new PipelineHandler("pipeline " + PIPELINES.size());
        PIPELINES.add(pipeline);
        return pipeline;
    }

    static String setStream(String file) {
        return DEMUX.stream = file;
    }

    static String received(int pipeline) {
        return TUNER.received(pipeline);
    }

    /** args: the folder of the box's native libraries, the middleware's file, and its arguments. */
    public static void main(String[] args) {
        Device.model = (self, method, arguments) ->
                self instanceof ZytTvInnerFilter || self instanceof ZytTvInnerFilterCallbackThread
                        ? DEMUX.call(self, method, arguments)
                        : TUNER.call(self, method, arguments);
        Loader.load(args[0] + "/libsim_box.so"); // first: notes the action of SIGINT
        Loader.load(args[0] + "/libhalvorin_velmora_pipeline.so");
        System.exit(middleware(Arrays.copyOfRange(args, 1, args.length)));
    }
}
