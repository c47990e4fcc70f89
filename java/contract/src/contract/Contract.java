package contract;

import desk.Loader;
import java.io.File;
import java.io.IOException;
import java.io.PrintWriter;
import java.io.StringWriter;
import java.lang.invoke.MethodType;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.function.UnaryOperator;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import java.util.spi.ToolProvider;
import java.util.stream.Collectors;
import java.util.zip.ZipFile;

/** What the library demands of Java, recorded while it is loaded: prints it, or checks jars against it. */
public final class Contract {
    private static final String CONSTRUCTOR = "<init>";
    private static final Map<String, Declared> DECLARED = new HashMap<>();

    /** A member; descriptor as in a class file. */
    private record Member(boolean isNative, boolean isStatic, String name, String descriptor) {
        /** As Java and the shrinkers write it, with the given way to write the name of a class. */
        String declaration(UnaryOperator<String> type) {
            final List<String> parameters = new ArrayList<>();
            final Matcher parts = Pattern.compile("(\\[*)(?:L([^;]+);|([BCDFIJSVZ]))").matcher(descriptor);
            while (parts.find()) {
                final String name = parts.group(2) != null ? type.apply(parts.group(2).replace('/', '.'))
                        : MethodType.fromMethodDescriptorString("()" + parts.group(3), null).returnType().getName();
                parameters.add(name + "[]".repeat(parts.group(1).length()));
            }
            final String result = parameters.remove(parameters.size() - 1);
            return (isStatic ? "static " : "") + (isNative ? "native " : "")
                    + (name.equals(CONSTRUCTOR) ? "" : result + " ")
                    + name + "(" + String.join(", ", parameters) + ")";
        }

        String shortDeclaration() {
            return declaration(Contract::simpleName);
        }
    }

    /** A class as a jar has it. */
    private record Declared(String superclass, List<Member> members) {}

    private Contract() {}

    private static native boolean start();

    private static native String stop();

    /** args: the folder of the native libraries; then --table, --keep, or --check and jars. */
    public static void main(String[] args) throws IOException {
        final Map<String, List<Member>> contract = recorded(args[0]);
        switch (args[1]) {
            case "--table" -> System.out.print(table(contract));
            case "--keep" -> System.out.print(keepRules(contract));
            default -> System.exit(check(contract, List.of(args).subList(2, args.length)) ? 0 : 1);
        }
    }

    private static Map<String, List<Member>> recorded(String folder) {
        System.load(folder + "/libcontract_recorder.so");
        if (!start()) {
            throw new IllegalStateException("the virtual machine does not let its JNI functions be watched");
        }
        Loader.load(folder + "/libhalvorin_velmora_pipeline.so");
        final Map<String, List<Member>> contract = new LinkedHashMap<>();
        for (String line : stop().split("\n")) {
            final String[] words = line.split(" ");
            final String owner = words[1].substring(1, words[1].length() - 1).replace('/', '.');
            final List<Member> members = contract.computeIfAbsent(owner, key -> new ArrayList<>());
            final Member member = new Member(words[0].equals("native"), false, words[2], words[3]);
            if (!words[0].equals("class") && !members.contains(member)) {
                members.add(member);
            }
        }
        return contract;
    }

    private static String simpleName(String type) {
        return type.substring(type.lastIndexOf('.') + 1);
    }

    private static String table(Map<String, List<Member>> contract) {
        final StringBuilder text = new StringBuilder("| class, member | the library |\n|---|---|\n");
        contract.forEach((owner, members) -> {
            text.append("| **" + owner + "** | looks up |\n");
            for (Member member : members) {
                text.append("| `" + member.shortDeclaration().replace(CONSTRUCTOR, simpleName(owner)) + "` | "
                        + (member.isNative() ? "registers" : member.name().equals(CONSTRUCTOR) ? "constructs"
                                : "calls") + " |\n");
            }
        });
        return text.toString();
    }

    private static String keepRules(Map<String, List<Member>> contract) {
        final StringBuilder text = new StringBuilder("""
                # Keep rules for R8 and ProGuard: what libhalvorin_velmora_pipeline looks up by name.
                # Made by scripts/java-contract --keep. The rules of android.media.tv.tuner do nothing
                # where those classes are the platform's, which a shrinker leaves alone; they count
                # only for an application that carries these classes itself.
                """);
        contract.forEach((owner, members) -> text.append("\n-keep class " + owner + " {\n"
                + members.stream().map(member -> "    " + member.declaration(name -> name) + ";\n")
                        .collect(Collectors.joining()) + "}\n"));
        // A descriptor holds the names of classes, which must stay although nobody looks them up.
        contract.values().stream().flatMap(List::stream)
                .flatMap(member -> Pattern.compile("L([^;]+);").matcher(member.descriptor()).results())
                .map(type -> type.group(1).replace('/', '.')).distinct()
                .filter(type -> !contract.containsKey(type))
                .forEach(type -> text.append("\n-keep class " + type + "\n"));
        return text.toString();
    }

    private static boolean check(Map<String, List<Member>> contract, List<String> jars) throws IOException {
        for (String jar : jars) {
            try (ZipFile file = new ZipFile(jar)) {
                if (file.stream().noneMatch(entry -> entry.getName().endsWith(".class"))) {
                    System.err.println(jar + ": holds no class files (the code of an APK is in another format: "
                            + "check the jar that it was made of)");
                    return false;
                }
            } catch (IOException e) {
                System.err.println(jar + ": " + (new File(jar).exists() ? "not a jar" : "no such file"));
                return false;
            }
        }
        final String path = String.join(File.pathSeparator, jars);
        final List<String> faults = new ArrayList<>();
        contract.forEach((owner, members) -> {
            if (declared(path, owner) == null) {
                faults.add(owner + ": is missing; members: " + members.size());
                return;
            }
            members.forEach(member -> {
                final String fault = fault(path, owner, member);
                if (fault != null) {
                    faults.add(owner + ": " + member.shortDeclaration() + " " + fault);
                }
            });
        });
        faults.forEach(System.out::println);
        System.out.println(faults.isEmpty() ? "All " + contract.size() + " classes and their "
                + contract.values().stream().mapToInt(List::size).sum() + " members are there."
                : faults.size() + " faults: the library cannot be loaded with these classes.");
        return faults.isEmpty();
    }

    /** What is wrong with a member; null when JNI finds it. */
    private static String fault(String path, String owner, Member wanted) {
        final List<String> others = new ArrayList<>();
        String unknown = "";
        for (String name = owner; !name.isEmpty() && !name.equals("java.lang.Object"); ) {
            final Declared type = declared(path, name);
            if (type == null) {
                unknown = ", unless its superclass " + name + " has it, which is in none of the jars";
                break;
            }
            for (Member member : type.members()) {
                if (member.name().equals(wanted.name()) && member.descriptor().equals(wanted.descriptor())) {
                    return member.isStatic() ? "is static"
                            : wanted.isNative() && !member.isNative() ? "is not declared native" : null;
                }
                if (member.name().equals(wanted.name())) {
                    others.add(member.shortDeclaration());
                }
            }
            // A constructor is not inherited.
            name = wanted.name().equals(CONSTRUCTOR) ? "" : type.superclass();
        }
        return "is missing" + unknown + (others.isEmpty() ? "" : "; there is " + String.join(", ", others));
    }

    /** Reads the class without loading it, which would need every class that it mentions; null: not there. */
    private static Declared declared(String path, String name) {
        return DECLARED.computeIfAbsent(name, key -> {
            final StringWriter out = new StringWriter();
            final ToolProvider javap = ToolProvider.findFirst("javap").orElseThrow();
            final PrintWriter faults = new PrintWriter(new StringWriter());
            return javap.run(new PrintWriter(out), faults, "-p", "-s", "-cp", path, name) == 0
                    ? parse(out.toString(), name) : null;
        });
    }

    private static Declared parse(String text, String name) {
        String superclass = "";
        String declaration = "";
        final List<Member> members = new ArrayList<>();
        for (String line : text.split("\n")) {
            while (!line.equals(line = line.replaceAll("<[^<>]*>", ""))) {
                // Type arguments within type arguments.
            }
            final Matcher parent = Pattern.compile("\\bclass \\S+ extends (\\S+) ").matcher(line);
            if (parent.find()) {
                superclass = parent.group(1);
            }
            if (line.startsWith("    descriptor: (") && declaration.contains("(")) {
                final String[] words = declaration.substring(0, declaration.indexOf('(')).trim().split(" ");
                final String member = words[words.length - 1];
                final List<String> modifiers = List.of(words);
                members.add(new Member(modifiers.contains("native"), modifiers.contains("static"),
                        member.equals(name) ? CONSTRUCTOR : member, line.replaceAll("^ *descriptor: ", "")));
            }
            declaration = line;
        }
        return new Declared(superclass, members);
    }
}
