package tests;

import desk.Device;
import desk.DeviceModel;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.IdentityHashMap;
import java.util.List;
import java.util.Map;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.TimeUnit;

/**
 * The device model of the tests: records the framework's calls, and answers, throws or waits as told. A method
 * is named as in "onTune" or, to tell classes apart, "DvbsCodeRate.<init>".
 */
public final class ScriptedModel implements DeviceModel {
    private static final ScriptedModel INSTANCE = new ScriptedModel();

    private static final class Hold {
        final CountDownLatch entered = new CountDownLatch(1);
        final CountDownLatch released = new CountDownLatch(1);
    }

    private final Map<String, Object> mAnswers = new HashMap<>();
    private final Map<String, Hold> mHolds = new HashMap<>();
    private final List<String> mCalls = new ArrayList<>();
    private final Map<Object, String> mNames = new IdentityHashMap<>();
    private final Map<String, Integer> mSerials = new HashMap<>();
    private byte[] mSection = {};

    private ScriptedModel() {}

    public static void reset() {
        synchronized (INSTANCE) {
            INSTANCE.mHolds.values().forEach(hold -> hold.released.countDown());
            INSTANCE.mHolds.clear();
            INSTANCE.mAnswers.clear();
            INSTANCE.mCalls.clear();
            INSTANCE.mNames.clear();
            INSTANCE.mSerials.clear();
            INSTANCE.mSection = new byte[0];
        }
        Device.model = INSTANCE;
    }

    /** value: null for no result. */
    public static void returns(String method, Object value) {
        synchronized (INSTANCE) {
            INSTANCE.mAnswers.put(method, value);
        }
    }

    public static void returns(String method, boolean value) {
        returns(method, (Object) value);
    }

    public static void returns(String method, int value) {
        returns(method, (Object) value);
    }

    public static void returns(String method, long value) {
        returns(method, (Object) value);
    }

    public static void throwsException(String method) {
        returns(method, new IllegalStateException("scripted: " + method));
    }

    /** What onRead puts into its buffer. */
    public static void section(byte[] bytes) {
        synchronized (INSTANCE) {
            INSTANCE.mSection = bytes;
        }
    }

    /** From now on the method waits, until it is released. */
    public static void hold(String method) {
        synchronized (INSTANCE) {
            INSTANCE.mHolds.put(method, new Hold());
        }
    }

    public static boolean awaitHeld(String method) throws InterruptedException {
        final Hold hold;
        synchronized (INSTANCE) {
            hold = INSTANCE.mHolds.get(method);
        }
        return hold.entered.await(60, TimeUnit.SECONDS);
    }

    public static void release(String method) {
        final Hold hold;
        synchronized (INSTANCE) {
            hold = INSTANCE.mHolds.remove(method);
        }
        hold.released.countDown();
    }

    /** The calls of framework objects since the last time, a line each. */
    public static String takeCalls() {
        synchronized (INSTANCE) {
            final String calls = String.join("\n", INSTANCE.mCalls);
            INSTANCE.mCalls.clear();
            return calls;
        }
    }

    @Override
    public Object call(Object self, String method, Object... args) {
        final String full = self.getClass().getSimpleName() + "." + method;
        final Hold hold;
        synchronized (this) {
            if (full.startsWith("ZytTv")) {
                mCalls.add(record(self, method, args));
            }
            hold = mHolds.getOrDefault(full, mHolds.get(method));
        }
        if (hold != null) {
            hold.entered.countDown();
            try {
                hold.released.await();
            } catch (InterruptedException e) {
                throw new IllegalStateException(e);
            }
        }
        final Object answer;
        synchronized (this) {
            answer = mAnswers.getOrDefault(full, mAnswers.get(method));
            if (method.equals("onRead")) {
                System.arraycopy(mSection, 0, (byte[]) args[0], 0, mSection.length);
            }
        }
        if (answer instanceof RuntimeException exception) {
            throw exception;
        }
        return answer;
    }

    private String record(Object self, String method, Object[] args) {
        final StringBuilder line = new StringBuilder(name(self)).append('.').append(method).append('(');
        for (int i = 0; i < args.length; ++i) {
            line.append(i > 0 ? ", " : "").append(text(args[i]));
        }
        return line.append(')').toString();
    }

    private String name(Object object) {
        return mNames.computeIfAbsent(object, key -> {
            final String name = key.getClass().getSimpleName();
            return name + "#" + mSerials.merge(name, 1, Integer::sum);
        });
    }

    private String text(Object value) {
        final StringBuilder text = new StringBuilder();
        if (value instanceof byte[] bytes) {
            text.append("byte[").append(bytes.length).append(']');
            for (int i = 0; i < bytes.length && bytes.length <= 64; ++i) {
                text.append(String.format("%02x", bytes[i]));
            }
        } else if (value instanceof int[] ints) {
            text.append("int[").append(ints.length).append(']');
            for (int i = 0; i < ints.length; ++i) {
                text.append(i > 0 ? "," : "").append(ints[i]);
            }
        } else if (value != null && value.getClass().getSimpleName().startsWith("ZytTv")) {
            text.append(name(value));
        } else {
            text.append(value);
        }
        return text.toString();
    }
}
