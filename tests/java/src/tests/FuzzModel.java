package tests;

import android.media.tv.tuner.frontend.FrontendSettings;
import android.media.tv.tuner.frontend.FrontendStatus;
import desk.Device;
import desk.DeviceModel;
import java.io.OutputStream;
import java.io.PrintStream;
import java.util.Arrays;
import java.util.HashMap;
import java.util.Map;

/** The device model of the fuzzer: writes down every call with all its arguments, constructors' too. */
public final class FuzzModel implements DeviceModel {
    private static final FuzzModel INSTANCE = new FuzzModel();

    private static final class Scripted extends RuntimeException {
        private static final long serialVersionUID = 1;

        Scripted() {
            super(null, null, false, false);
        }
    }

    private final Map<String, Object> mAnswers = new HashMap<>();
    private final Map<Class<?>, Object> mMade = new HashMap<>();
    private final StringBuilder mCalls = new StringBuilder();

    private FuzzModel() {}

    public static void start() {
        Device.model = INSTANCE;
        System.setErr(new PrintStream(OutputStream.nullOutputStream()));
    }

    /**
     * The answers until the next time: a line each, method or class of a constructor, blank, type letter and value.
     * T throws, N is null, S a status object, L a list of integers. "section" is what onRead fills its buffer from.
     */
    public static void answers(String lines) {
        INSTANCE.mAnswers.clear();
        lines.lines().forEach(line -> {
            final int blank = line.indexOf(' ');
            final String value = line.substring(blank + 2);
            INSTANCE.mAnswers.put(line.substring(0, blank), switch (line.charAt(blank + 1)) {
                case 'T' -> new Scripted();
                case 'N' -> null;
                case 'S' -> new FrontendStatus();
                case 'Z' -> value.equals("1");
                case 'I' -> Integer.valueOf(value);
                case 'J' -> Long.valueOf(value);
                case 'L' -> Arrays.stream(value.split(",")).filter(text -> !text.isEmpty())
                        .mapToInt(Integer::parseInt).toArray();
                default -> throw new IllegalArgumentException(line);
            });
        });
    }

    /** The calls since the last time, a line each. */
    public static String takeCalls() {
        final String calls = INSTANCE.mCalls.toString();
        INSTANCE.mCalls.setLength(0);
        return calls;
    }

    @Override
    public Object call(Object self, String method, Object... args) {
        mCalls.append(self.getClass().getSimpleName()).append('.').append(method).append('(');
        for (int i = 0; i < args.length; ++i) {
            mCalls.append(i > 0 ? "," : "").append(text(args[i]));
        }
        mCalls.append(")\n");
        if (method.equals("<init>")) {
            mMade.put(self.getClass(), self);
        }
        if (method.equals("onRead") && mAnswers.get("section") instanceof Integer seed) {
            final byte[] buffer = (byte[]) args[0];
            for (int i = 0; i < buffer.length; ++i) {
                buffer[i] = (byte) (seed + i * 7 + i / 256);
            }
        }
        final Object answer = mAnswers.get(!method.equals("<init>") ? method
                : self instanceof FrontendSettings ? "FrontendSettings" : self.getClass().getSimpleName());
        if (answer instanceof Scripted scripted) {
            throw scripted;
        }
        return answer;
    }

    private String text(Object value) {
        if (value instanceof byte[] bytes) {
            final StringBuilder text = new StringBuilder("byte[" + bytes.length + "]");
            for (int i = 0; i < bytes.length && bytes.length <= 64; ++i) {
                text.append(Character.forDigit(bytes[i] >> 4 & 15, 16)).append(Character.forDigit(bytes[i] & 15, 16));
            }
            return text.toString();
        }
        if (value instanceof int[] ints) {
            return Arrays.toString(ints);
        }
        if (value == null || value instanceof Number || value instanceof Boolean) {
            return String.valueOf(value);
        }
        // The object that was made last, and so for this call.
        return value.getClass().getSimpleName() + (mMade.get(value.getClass()) == value ? "" : " of another call");
    }
}
