package contract;

import fake.Loader;
import java.io.File;
import java.io.IOException;
import java.io.InputStream;
import java.net.MalformedURLException;
import java.net.URL;
import java.net.URLClassLoader;
import java.util.ArrayDeque;
import java.util.ArrayList;
import java.util.Deque;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.function.UnaryOperator;
import java.util.regex.Pattern;
import java.util.stream.Collectors;
import java.util.stream.Stream;
import java.util.zip.ZipFile;
import org.objectweb.asm.ClassReader;
import org.objectweb.asm.Opcodes;
import org.objectweb.asm.Type;
import org.objectweb.asm.tree.ClassNode;
import org.objectweb.asm.tree.MethodNode;

/** What the library demands of Java, recorded while it is loaded: prints it, or checks jars against it. */
public final class Contract {
    /** A member, as a class file has it. */
    private record Member(int access, String name, String descriptor) {
        boolean is(int flags) {
            return (access & flags) != 0;
        }

        boolean isNative() {
            return is(Opcodes.ACC_NATIVE);
        }

        boolean isConstructor() {
            return name.equals("<init>");
        }

        /** As Java and the shrinkers write it, with the given way to write the name of a class. */
        String declaration(UnaryOperator<String> type) {
            return (is(Opcodes.ACC_STATIC) ? "static " : "") + (isNative() ? "native " : "")
                    + (isConstructor() ? "" : type.apply(Type.getReturnType(descriptor).getClassName()) + " ") + name
                    + Stream.of(Type.getArgumentTypes(descriptor)).map(Type::getClassName).map(type)
                            .collect(Collectors.joining(", ", "(", ")"));
        }

        String shortDeclaration() {
            return declaration(Contract::simpleName);
        }
    }

    private Contract() {}

    private static native boolean start();

    private static native String stop();

    /** args: the folder of the native libraries; then --table, --keep, or --check and jars. */
    public static void main(String[] args) throws MalformedURLException {
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
            final List<Member> members =
                    contract.computeIfAbsent(Type.getType(words[1]).getClassName(), owner -> new ArrayList<>());
            final int access = words[0].equals("native") ? Opcodes.ACC_NATIVE : 0;
            final Member member = new Member(access, words[2], words[3]);
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
                text.append("| `" + member.shortDeclaration().replace("<init>", simpleName(owner)) + "` | "
                        + (member.isNative() ? "registers" : member.isConstructor() ? "constructs" : "calls")
                        + " |\n");
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

    private static boolean check(Map<String, List<Member>> contract, List<String> jars) throws MalformedURLException {
        final List<URL> urls = new ArrayList<>();
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
            urls.add(new File(jar).toURI().toURL());
        }
        final ClassLoader loader =
                new URLClassLoader(urls.toArray(URL[]::new), ClassLoader.getPlatformClassLoader());
        final List<String> faults = new ArrayList<>();
        contract.forEach((owner, members) -> faults(loader, owner, members)
                .forEach(fault -> faults.add(owner + ": " + fault)));
        faults.forEach(System.out::println);
        System.out.println(faults.isEmpty() ? "All " + contract.size() + " classes and their "
                + contract.values().stream().mapToInt(List::size).sum() + " members are there."
                : "Faults: " + faults.size() + ". The library does not work with these classes.");
        return faults.isEmpty();
    }

    private static List<String> faults(ClassLoader jars, String owner, List<Member> members) {
        final List<String> faults = new ArrayList<>();
        try {
            final ClassNode type = read(jars, owner.replace('.', '/'));
            if (type == null) {
                return List.of("is missing; members: " + members.size());
            }
            if ((type.access & Opcodes.ACC_ABSTRACT) != 0 && members.stream().anyMatch(Member::isConstructor)) {
                faults.add("is abstract, and the library constructs it");
            }
            for (Member member : members) {
                final String fault = fault(jars, type, member);
                if (fault != null) {
                    faults.add(member.shortDeclaration() + " " + fault);
                }
            }
        } catch (IllegalArgumentException e) {
            faults.add(e.getMessage());
        }
        return faults;
    }

    /** What is wrong with a member; null when JNI finds it: in the class, its superclasses, or an interface. */
    private static String fault(ClassLoader jars, ClassNode owner, Member wanted) {
        String others = "";
        String unknown = "";
        final Deque<String> next = new ArrayDeque<>(List.of(owner.name));
        while (!next.isEmpty()) {
            final String name = next.pop();
            final ClassNode type = read(jars, name);
            if (type == null) {
                unknown += ", unless " + name.replace('/', '.') + " has it, which is in none of the jars";
                continue;
            }
            final boolean isInterface = (type.access & Opcodes.ACC_INTERFACE) != 0;
            final int notInherited = isInterface ? Opcodes.ACC_STATIC | Opcodes.ACC_PRIVATE : 0;
            for (MethodNode method : type.methods) {
                final Member member = new Member(method.access, method.name, method.desc);
                if (member.name().equals(wanted.name())) {
                    if (member.descriptor().equals(wanted.descriptor()) && !member.is(notInherited)) {
                        return member.is(Opcodes.ACC_STATIC) ? "is static"
                                : wanted.isNative() && !member.isNative() ? "is not declared native" : null;
                    }
                    others += (others.isEmpty() ? "; there is " : ", ") + member.shortDeclaration();
                }
            }
            if (!wanted.isConstructor()) { // which is not inherited
                next.addAll(type.interfaces);
                if (type.superName != null) {
                    next.push(type.superName);
                }
            }
        }
        return "is missing" + unknown + others;
    }

    /** Reads a class without loading it, which would need every class that it mentions; null: not there. */
    private static ClassNode read(ClassLoader jars, String name) {
        try (InputStream file = jars.getResourceAsStream(name + ".class")) {
            if (file == null) {
                return null;
            }
            final ClassNode type = new ClassNode();
            final ClassReader reader = new ClassReader(file);
            reader.accept(type, ClassReader.SKIP_CODE);
            if (reader.readInt(0) == 0xcafebabe && type.name.equals(name)) {
                return type;
            }
        } catch (IOException | RuntimeException e) {
            // No better than a file that holds something else.
        }
        throw new IllegalArgumentException("the class file of " + name.replace('/', '.') + " is broken");
    }
}
