package sim;

import com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerFilter;
import com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerFilterCallback;
import com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerFilterCallbackThread;
import desk.DeviceModel;
import java.io.IOException;
import java.nio.ByteBuffer;
import java.nio.channels.FileChannel;
import java.nio.file.Path;
import java.util.Arrays;
import java.util.HashSet;
import java.util.Map;
import java.util.Queue;
import java.util.Set;
import java.util.concurrent.ConcurrentHashMap;
import java.util.concurrent.ConcurrentLinkedQueue;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;

/** Section filters on a transport stream from a file. Each section of a filter is delivered once per start. */
final class SimulatedDemux implements DeviceModel {
    private static final int OK = 0;
    private static final int REFUSED = 1;
    private static final int PACKET = 188;
    private static final int END_OF_STREAM = 1;
    private static final int TS = 1;
    private static final int SECTION = 1;
    /** A longer section than a read returns is not delivered. */
    private static final int READABLE = 4096;
    private static final int LONGEST = 3 + 0xfff;

    /** Which sections: of a PID, and by pattern, mask and mode. Byte 0 is the table, the others follow the length. */
    private record Config(int pid, byte[] pattern, byte[] mask, byte[] mode) {
        boolean admits(byte[] section) {
            boolean anyNegative = false;
            boolean negative = false;
            for (int i = 0; i < pattern.length; ++i) {
                final int at = i == 0 ? 0 : i + 2;
                final int difference = at < section.length ? (section[at] ^ pattern[i]) & mask[i] : 0;
                if ((difference & ~mode[i]) != 0) {
                    return false;
                }
                anyNegative |= (mask[i] & mode[i]) != 0;
                negative |= (difference & mode[i]) != 0;
            }
            return negative || !anyNegative;
        }
    }

    private static final class State {
        volatile ExecutorService thread;
        volatile Config config;
        volatile boolean active;
        final Queue<byte[]> sections = new ConcurrentLinkedQueue<>();
    }

    private final Map<Object, State> mFilters = new ConcurrentHashMap<>();
    private final Map<Object, ExecutorService> mThreads = new ConcurrentHashMap<>();
    private final ExecutorService mSharedThread = Executors.newSingleThreadExecutor();
    private volatile Path mStream;

    void setStream(String file) {
        mStream = Path.of(file);
    }

    @Override
    public Object call(Object self, String method, Object... args) {
        if (self instanceof ZytTvInnerFilterCallbackThread) {
            if (method.equals("release")) {
                mThreads.remove(self).shutdown();
            } else {
                mThreads.put(self, Executors.newSingleThreadExecutor());
            }
            return null;
        }
        final ZytTvInnerFilter filter = (ZytTvInnerFilter) self;
        final State state = mFilters.computeIfAbsent(filter, key -> new State());
        switch (method) {
            case "onOpenFilter":
                state.thread = args[3] != null ? mThreads.get(args[3]) : mSharedThread;
                return (Integer) args[0] == TS && (Integer) args[1] == SECTION ? OK : REFUSED;
            case "onSetSectionConfig":
                state.config = new Config((Integer) args[0], ((byte[]) args[4]).clone(),
                        ((byte[]) args[5]).clone(), ((byte[]) args[6]).clone());
                return OK;
            case "onStart":
                final ByteBuffer stream = openStream();
                if (state.config == null || stream == null) {
                    return REFUSED;
                }
                state.active = true;
                state.thread.execute(() -> play(stream, filter.nativeHandle(), state));
                return OK;
            case "onRead":
                return read(state, (byte[]) args[0], (Long) args[2]);
            case "onFlush":
                state.sections.clear();
                return OK;
            case "onStop":
                state.active = false;
                return OK;
            case "onCloseFilter":
                state.active = false;
                mFilters.remove(filter);
                return OK;
            default:
                return null;
        }
    }

    private static int read(State state, byte[] buffer, long size) {
        final byte[] section = state.sections.peek();
        if (section == null || section.length > size) {
            return 0;
        }
        System.arraycopy(section, 0, buffer, 0, section.length);
        state.sections.remove();
        return section.length;
    }

    /** Null when there is none to be had. */
    private ByteBuffer openStream() {
        if (mStream == null) {
            return null;
        }
        try (FileChannel file = FileChannel.open(mStream)) {
            return file.map(FileChannel.MapMode.READ_ONLY, 0, file.size());
        } catch (IOException | IllegalArgumentException e) {
            System.err.println("The stream cannot be read: " + e);
            return null;
        }
    }

    /** Plays the stream once, on the filter's callback thread. */
    private void play(ByteBuffer stream, int handle, State state) {
        final ZytTvInnerFilterCallback callback = new ZytTvInnerFilterCallback();
        final Set<ByteBuffer> delivered = new HashSet<>();
        final ByteBuffer assembly = ByteBuffer.allocate(LONGEST + PACKET);
        final byte[] packet = new byte[PACKET];
        final byte[] previous = new byte[PACKET];
        boolean assembling = false;
        while (stream.remaining() >= PACKET && state.active) {
            stream.get(packet);
            int payload = (packet[3] & 0x20) != 0 ? 5 + (packet[4] & 0xff) : 4;
            if (((packet[1] & 0x1f) << 8 | packet[2] & 0xff) != state.config.pid() || (packet[3] & 0x10) == 0
                    || payload >= PACKET || Arrays.equals(packet, previous)) {
                continue; // of another PID, without a payload, or sent twice
            }
            System.arraycopy(packet, 0, previous, 0, PACKET);
            final boolean start = (packet[1] & 0x40) != 0;
            final int pointer = start ? packet[payload++] & 0xff : 0;
            if (start) {
                final int first = Math.min(payload + pointer, PACKET);
                if (assembling) {
                    append(assembly, packet, payload, first);
                    take(assembly, handle, state, callback, delivered);
                }
                assembly.clear();
                assembling = true;
                payload = first;
            }
            if (assembling) {
                append(assembly, packet, payload, PACKET);
                // Without a pointer to it no section begins behind the one that ends here.
                assembling = !take(assembly, handle, state, callback, delivered) || start;
            }
        }
        if (state.active) {
            callback.nativeFilterStatusChanged(handle, END_OF_STREAM);
        }
    }

    private static void append(ByteBuffer assembly, byte[] packet, int from, int to) {
        assembly.put(packet, from, Math.min(to - from, assembly.remaining()));
    }

    /** Takes the complete sections from the front of what has been assembled; whether there was one. */
    private static boolean take(ByteBuffer assembly, int handle, State state,
            ZytTvInnerFilterCallback callback, Set<ByteBuffer> delivered) {
        int at = 0;
        while (at + 3 <= assembly.position() && assembly.get(at) != (byte) 0xff) {
            final int length = 3 + ((assembly.get(at + 1) & 0x0f) << 8 | assembly.get(at + 2) & 0xff);
            if (at + length > assembly.position()) {
                break;
            }
            final byte[] section = Arrays.copyOfRange(assembly.array(), at, at + length);
            at += length;
            if (section.length >= 8 && section.length <= READABLE && state.config.admits(section)
                    && delivered.add(ByteBuffer.wrap(section))) {
                state.sections.add(section);
                callback.nativeFilterSectionEvent(handle, section[0] & 0xff, section[5] >> 1 & 0x1f,
                        section[6] & 0xff, section.length);
            }
        }
        final int rest = assembly.position() - at;
        System.arraycopy(assembly.array(), at, assembly.array(), 0, rest);
        assembly.position(rest);
        return at > 0;
    }
}
