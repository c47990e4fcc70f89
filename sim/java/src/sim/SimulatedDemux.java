package sim;

import com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerFilter;
import com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerFilterCallback;
import com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerFilterCallbackThread;
import fake.DeviceModel;
import java.io.BufferedInputStream;
import java.io.File;
import java.io.FileInputStream;
import java.io.IOException;
import java.io.InputStream;
import java.nio.ByteBuffer;
import java.util.Arrays;
import java.util.HashSet;
import java.util.Map;
import java.util.Queue;
import java.util.Set;
import java.util.concurrent.ArrayBlockingQueue;
import java.util.concurrent.ConcurrentHashMap;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;

/** Section filters on a transport stream from a file. Each start delivers each section once. */
final class SimulatedDemux implements DeviceModel {
    private static final int OK = 0, REFUSED = 1;
    private static final int PACKET = 188;
    /** How many sections are remembered, so that none of them is delivered again. */
    private static final int REMEMBERED = 4096;
    private static final int WAITING = 1024;
    private static final int SYNC = 0x47;
    private static final int END_OF_STREAM = 1;
    private static final int TS = 1;
    private static final int SECTION = 1;
    /** A section that is longer than a read can return is not delivered. */
    private static final int READABLE = 4096;

    /** A filter. It outlives its close, because events still need it. */
    private static final class Filter {
        private final ZytTvInnerFilter mFilter;
        private final ZytTvInnerFilterCallback mCallback = new ZytTvInnerFilterCallback();
        private final Queue<byte[]> mSections = new ArrayBlockingQueue<>(WAITING);
        private final Set<ByteBuffer> mDelivered = new HashSet<>();
        /** The section that is being received, if one has begun. */
        private final byte[] mSection = new byte[3 + 0xfff];
        private int mLength;
        private boolean mBegun;
        volatile ExecutorService thread;
        /** The arguments of onSetSectionConfig. */
        volatile Object[] config;
        volatile boolean active;

        Filter(Object filter) {
            mFilter = (ZytTvInnerFilter) filter;
        }

        /** Applies pattern, mask and mode. Byte 0 is the table id; the others follow the length. */
        private boolean admits(byte[] section) {
            final byte[] pattern = (byte[]) config[4], mask = (byte[]) config[5];
            final byte[] mode = (byte[]) config[6];
            int different = 0, negative = 0, negatives = 0;
            for (int i = 0; i < pattern.length; ++i) {
                final int at = i == 0 ? 0 : i + 2;
                final int bits = at < section.length ? (section[at] ^ pattern[i]) & mask[i] : 0;
                different |= bits & ~mode[i];
                negative |= bits & mode[i];
                negatives |= mask[i] & mode[i];
            }
            return different == 0 && (negative != 0 || negatives == 0);
        }

        int read(byte[] buffer, long size) {
            final byte[] section = mSections.peek();
            if (section == null || section.length > size) {
                return 0;
            }
            System.arraycopy(section, 0, buffer, 0, section.length);
            mSections.remove();
            return section.length;
        }

        /** Plays a stream once, on the filter's callback thread. */
        void play(String stream) {
            final byte[] packet = new byte[PACKET];
            int counter = -1;
            mDelivered.clear();
            mBegun = false;
            try (InputStream in = new BufferedInputStream(new FileInputStream(stream))) {
                while (active && in.read(packet) == PACKET) {
                    final int payload = (packet[3] & 0x20) != 0 ? 5 + (packet[4] & 0xff) : 4;
                    if (packet[0] != SYNC || packet[1] < 0 || payload >= PACKET
                            || (packet[3] & 0x10) == 0 || (packet[3] & 0x0f) == counter
                            || ((packet[1] & 0x1f) << 8 | packet[2] & 0xff) != (int) config[0]) {
                        continue; // damaged, without a payload, of another PID, or sent twice
                    }
                    mBegun &= (packet[3] & 0x0f) == (counter + 1 & 0x0f); // else packets are lost
                    counter = packet[3] & 0x0f;
                    take(packet, payload);
                }
            } catch (IOException e) {
                System.err.println("The stream cannot be read: " + e);
            }
            if (active) {
                mCallback.nativeFilterStatusChanged(mFilter.nativeHandle(), END_OF_STREAM);
            }
        }

        private void take(byte[] packet, int payload) {
            if ((packet[1] & 0x40) == 0) {
                append(packet, payload, PACKET, false);
                return;
            }
            // The first byte points to the first section that begins in this packet.
            final int first = payload + 1 + (packet[payload] & 0xff);
            append(packet, payload + 1, Math.min(first, PACKET), false);
            mBegun = true;
            mLength = 0;
            append(packet, first, PACKET, true);
        }

        /** Appends bytes to the section. another: a new one may follow when it is complete. */
        private void append(byte[] packet, int from, int to, boolean another) {
            for (int at = from; at < to && mBegun; ++at) {
                mSection[mLength++] = packet[at];
                if (mLength == 1 && packet[at] == (byte) 0xff) {
                    mBegun = false; // stuffing
                } else if (mLength >= 3
                        && mLength == 3 + ((mSection[1] & 0x0f) << 8 | mSection[2] & 0xff)) {
                    deliver(Arrays.copyOf(mSection, mLength));
                    mBegun = another;
                    mLength = 0;
                }
            }
        }

        private void deliver(byte[] section) {
            if (mDelivered.size() == REMEMBERED) {
                mDelivered.clear();
            }
            if (section.length >= 8 && section.length <= READABLE && admits(section)
                    && mDelivered.add(ByteBuffer.wrap(section))) {
                while (active && !mSections.offer(section)) {
                    Thread.yield(); // a file can wait for its reader
                }
                mCallback.nativeFilterSectionEvent(mFilter.nativeHandle(), section[0] & 0xff,
                        section[5] >> 1 & 0x1f, section[6] & 0xff, section.length);
            }
        }
    }

    private final Map<Object, Filter> mFilters = new ConcurrentHashMap<>();
    private final Map<Object, ExecutorService> mThreads = new ConcurrentHashMap<>();
    private final ExecutorService mSharedThread = Executors.newSingleThreadExecutor();
    volatile String stream;

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
        final Filter filter = mFilters.computeIfAbsent(self, Filter::new);
        switch (method) {
            case "onOpenFilter":
                filter.thread = args[3] != null ? mThreads.get(args[3]) : mSharedThread;
                return (Integer) args[0] == TS && (Integer) args[1] == SECTION ? OK : REFUSED;
            case "onSetSectionConfig":
                filter.config = args; // its arrays were made for this call
                return OK;
            case "onStart":
                final String fault = filter.config == null ? "it has no configuration"
                        : stream == null || !new File(stream).canRead() ? "no stream: " + stream
                        : filter.thread == null || filter.thread.isShutdown()
                        ? "its callback thread is deleted" : null;
                if (fault != null) {
                    System.err.println("The filter cannot start: " + fault);
                    return REFUSED;
                }
                filter.active = true;
                final String played = stream;
                filter.thread.execute(() -> filter.play(played));
                return OK;
            case "onRead":
                return filter.read((byte[]) args[0], (Long) args[2]);
            case "onFlush":
                filter.mSections.clear();
                return OK;
            case "onStop", "onCloseFilter":
                filter.active = false;
                if (method.equals("onCloseFilter")) {
                    mFilters.remove(self);
                }
                return OK;
            default:
                return null;
        }
    }
}
