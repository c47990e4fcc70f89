package tests;

import java.lang.invoke.MethodType;
import java.util.ArrayList;
import java.util.LinkedHashSet;
import java.util.List;
import java.util.Set;
import java.util.stream.Collectors;
import java.util.stream.Stream;

/** Says in the form of keep rules what a load demands of Java. */
public final class KeepRules {
    private KeepRules() {}

    /**
     * calls: lines such as "FindClass a/b/Name" and "GetMethodID name(II)V", in the order of the
     * load. Classes that only signatures name come last.
     */
    public static String of(String calls) {
        final List<String> rules = new ArrayList<>();
        final Set<String> passed = new LinkedHashSet<>();
        for (String call : calls.split("\n")) {
            final String[] parts = call.split("[ (]", 3);
            if (parts.length == 2) {
                rules.add("-keep class " + parts[1].replace('/', '.'));
                continue;
            }
            final MethodType type = MethodType.fromMethodDescriptorString(
                    "(" + parts[2], KeepRules.class.getClassLoader());
            rules.add("    " + (parts[0].equals("RegisterNatives") ? "native " : "")
                    + (parts[1].equals("<init>") ? "" : type.returnType().getTypeName() + " ")
                    + type.parameterList().stream().map(Class::getTypeName)
                            .collect(Collectors.joining(", ", parts[1] + "(", ");")));
            Stream.concat(type.parameterList().stream(), Stream.of(type.returnType()))
                    .filter(named -> !named.isPrimitive() && !named.isArray())
                    .forEach(named -> passed.add("-keep class " + named.getName()));
        }
        passed.removeAll(rules);
        rules.addAll(passed);
        return String.join("\n", rules);
    }
}
