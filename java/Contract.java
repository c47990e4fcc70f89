import java.io.EOFException;
import java.io.IOException;
import java.lang.reflect.Modifier;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.EnumSet;
import java.util.HashMap;
import java.util.LinkedHashMap;
import java.util.LinkedHashSet;
import java.util.List;
import java.util.Map;
import java.util.Set;
import java.util.concurrent.Callable;
import java.util.function.Function;
import java.util.regex.Pattern;
import java.util.stream.Collectors;
import java.util.stream.Stream;
import java.util.zip.ZipEntry;
import java.util.zip.ZipException;
import java.util.zip.ZipFile;
import org.jf.dexlib2.HiddenApiRestriction;
import org.jf.dexlib2.Opcodes;
import org.jf.dexlib2.dexbacked.DexBackedClassDef;
import org.jf.dexlib2.dexbacked.DexBackedDexFile;
import org.jf.dexlib2.dexbacked.DexBackedMethod;
import org.jf.dexlib2.dexbacked.raw.HeaderItem;
import org.jf.dexlib2.util.DexUtil;
import org.objectweb.asm.ClassReader;
import org.objectweb.asm.Type;
import org.objectweb.asm.tree.ClassNode;

/**
 * Prints as a table what the library demands of Java, as keep.pro lists it, or checks files
 * against it. Class files and dex are read into one model, and the check uses only the model.
 */
public final class Contract {
    /** A method. Its declaration is like "int onScan(a.b.Settings, int)", without modifiers. */
    private record Member(
            int access, String name, String declaration, Set<HiddenApiRestriction> lists) {
        static Member of(
                int access, String name, String descriptor, Set<HiddenApiRestriction> lists) {
            final String parameters = Stream.of(Type.getArgumentTypes(descriptor))
                    .map(Type::getClassName).collect(Collectors.joining(", ", "(", ")"));
            final String result = Type.getReturnType(descriptor).getClassName();
            return new Member(access, name,
                    (name.equals("<init>") ? "" : result + " ") + name + parameters, lists);
        }

        boolean isConstructor() {
            return name.equals("<init>");
        }

        @Override
        public String toString() {
            return (Modifier.isStatic(access) ? "static " : "")
                    + (Modifier.isNative(access) ? "native " : "")
                    + declaration.replaceAll("[^ (]+\\.", "");
        }
    }

    /** A class. The list above has its superclass, then its interfaces. */
    private record Model(int access, List<String> above, List<Member> members) {}

    private static final Pattern MEMBER =
            Pattern.compile("    (native )?((?:\\S+ )?(\\S+)\\(.*\\));\n");
    private static final Pattern RULE =
            Pattern.compile("-keep class (\\S+)( \\{\n(" + MEMBER + ")*\\})?\n");

    private static final Pattern PLATFORM = Pattern.compile(
            "(?:javax?|dalvik|libcore|org\\.(?:json|w3c|xml)|android"
                    + "|com\\.android\\.internal)\\..*");
    /** The lists that hide a member from an application of API 31. */
    private static final Set<HiddenApiRestriction> HIDING = EnumSet.range(
            HiddenApiRestriction.BLACKLIST, HiddenApiRestriction.GREYLIST_MAX_R);

    private final Map<String, List<Member>> mDemanded;
    /** For each class of the files, what reads it. */
    private final Map<String, Callable<Model>> mClasses = new HashMap<>();
    private final List<String> mFaults = new ArrayList<>();
    private final List<String> mHidden = new ArrayList<>();

    private Contract(String keepRules) throws IOException {
        mDemanded = read(keepRules + ": ", () -> parse(Path.of(keepRules)));
    }

    /** args: keep.pro, then --table, or --check with files and perhaps --enforced. */
    public static void main(String[] args) {
        boolean isGood = true;
        try {
            final Contract contract = new Contract(args[0]);
            if (args[1].equals("--table")) {
                contract.printTable();
            } else {
                final List<String> files = new ArrayList<>(List.of(args).subList(2, args.length));
                final boolean isEnforced = files.remove("--enforced");
                isGood = contract.addFiles(files) && contract.check(isEnforced);
            }
        } catch (IOException e) {
            System.err.println(e.getMessage());
            isGood = false;
        }
        if (System.out.checkError()) {
            System.err.println("Cannot write the output.");
            isGood = false;
        }
        System.exit(isGood ? 0 : 1);
    }

    /** Turns whatever the reading throws into a message: the prefix, then the reason. */
    private static <T> T read(String prefix, Callable<T> reading) throws IOException {
        String reason;
        try {
            return reading.call();
        } catch (ZipException | EOFException e) {
            reason = "cannot be unpacked: " + e.getMessage();
        } catch (IOException e) {
            reason = e.getMessage();
        } catch (OutOfMemoryError e) {
            reason = "needs too much memory";
        } catch (Exception e) { // the libraries may throw anything for broken input
            reason = "is broken or too new to be read: " + e;
        }
        throw new IOException(prefix + reason);
    }

    // --- keep.pro ---

    private static Map<String, List<Member>> parse(Path keepRules) throws IOException {
        final String rules = Files.readString(keepRules).replaceAll("(?m)^#.*\n", "");
        final String rest = RULE.matcher(rules).replaceAll("").strip();
        if (!rest.isEmpty()) {
            throw new IOException("is not understood: " + rest);
        }
        final Map<String, List<Member>> demanded = new LinkedHashMap<>();
        RULE.matcher(rules).results().forEach(rule -> demanded.put(rule.group(1),
                MEMBER.matcher(rule.group()).results().map(member -> new Member(
                        member.group(1) == null ? 0 : Modifier.NATIVE,
                        member.group(3), member.group(2), Set.of())).toList()));
        return demanded;
    }

    private void printTable() {
        System.out.println("| class, member | the library |\n|---|---|");
        mDemanded.forEach((owner, members) -> {
            System.out.println("| **" + owner + "** | "
                    + (members.isEmpty() ? "passes" : "looks up") + " |");
            for (Member member : members) {
                final String does = Modifier.isNative(member.access) ? "registers"
                        : member.isConstructor() ? "constructs" : "calls";
                System.out.println("| `"
                        + member.toString().replace("<init>", owner.replaceAll(".*\\.", ""))
                        + "` | " + does + " |");
            }
        });
    }

    // --- The files ---

    private boolean addFiles(List<String> files) {
        boolean isGood = true;
        for (String file : files) {
            try {
                read(file + ": ", () -> classesOf(Path.of(file))).forEach(mClasses::putIfAbsent);
            } catch (IOException e) {
                System.err.println(e.getMessage());
                isGood = false;
            }
        }
        return isGood;
    }

    private static Map<String, Callable<Model>> classesOf(Path file) throws IOException {
        if (!Files.isRegularFile(file) || !Files.isReadable(file)) { // a pipe might never end
            throw new IOException("is not a file that can be read");
        }
        if (file.toString().endsWith(".dex")) {
            return classesOfDex(Files.readAllBytes(file));
        }
        // Stays open, because a class file is read only when it is needed.
        final ZipFile zip = new ZipFile(file.toFile());
        final Map<String, Callable<Model>> classes = new HashMap<>();
        ZipEntry dex = zip.getEntry("classes.dex");
        // Stops at the first missing number, as a device does.
        for (int next = 2; dex != null; ++next) {
            classesOfDex(zip.getInputStream(dex).readAllBytes()).forEach(classes::putIfAbsent);
            dex = zip.getEntry("classes" + next + ".dex");
        }
        if (zip.getEntry("classes.dex") == null) {
            zip.stream().filter(entry -> entry.getName().endsWith(".class")).forEach(entry -> {
                final String name = entry.getName().replaceFirst("\\.class$", "");
                classes.put(Type.getObjectType(name).getClassName(),
                        () -> ofClassFile(name, zip.getInputStream(entry).readAllBytes()));
            });
        }
        if (classes.isEmpty()) {
            throw new IOException("holds neither classes.dex nor class files");
        }
        return classes;
    }

    private static Model ofClassFile(String name, byte[] bytes) throws IOException {
        final ClassNode node = new ClassNode();
        new ClassReader(bytes).accept(node, ClassReader.SKIP_CODE);
        if (!node.name.equals(name)) {
            throw new IOException("is broken: it contains the class "
                    + Type.getObjectType(node.name).getClassName());
        }
        return new Model(node.access,
                names(Type::getObjectType, node.superName, node.interfaces),
                node.methods.stream().map(method -> Member.of(
                        method.access, method.name, method.desc, Set.of())).toList());
    }

    private static Map<String, Callable<Model>> classesOfDex(byte[] bytes) throws IOException {
        DexUtil.verifyDexHeader(bytes, 0);
        final DexBackedDexFile dex = new DexBackedDexFile(Opcodes.getDefault(), bytes, 0);
        if (dex.getBuffer().readSmallUint(HeaderItem.FILE_SIZE_OFFSET) != bytes.length) {
            throw new IOException("is broken: its size is not as stated");
        }
        final Map<String, Callable<Model>> classes = new HashMap<>();
        for (DexBackedClassDef type : dex.getClasses()) {
            classes.put(Type.getType(type.getType()).getClassName(), () -> ofDex(type));
        }
        return classes;
    }

    private static Model ofDex(DexBackedClassDef type) {
        final List<Member> members = new ArrayList<>();
        for (DexBackedMethod method : type.getMethods()) {
            members.add(Member.of(method.getAccessFlags(), method.getName(),
                    "(" + String.join("", method.getParameterTypes()) + ")"
                            + method.getReturnType(),
                    method.getHiddenApiRestrictions()));
        }
        return new Model(type.getAccessFlags(),
                names(Type::getType, type.getSuperclass(), type.getInterfaces()), members);
    }

    /** superclass: null if there is none. */
    private static List<String> names(
            Function<String, Type> typeOf, String superclass, List<String> interfaces) {
        return Stream.concat(Stream.ofNullable(superclass), interfaces.stream())
                .map(name -> typeOf.apply(name).getClassName()).toList();
    }

    // --- The check ---

    private boolean check(boolean isEnforced) {
        // The files may leave out the platform's classes, but only all of them.
        final List<String> unchecked = new ArrayList<>(mDemanded.keySet());
        unchecked.removeIf(name -> !PLATFORM.matcher(name).matches());
        if (unchecked.stream().anyMatch(mClasses::containsKey)) {
            unchecked.clear();
        }
        mDemanded.keySet().removeAll(unchecked);
        mDemanded.forEach(this::check);
        mFaults.forEach(System.out::println);
        mHidden.forEach(System.out::println);
        if (!unchecked.isEmpty()) {
            System.out.println("Not checked, because none of the files has them: "
                    + unchecked.size() + " classes of the platform, such as " + unchecked.get(0));
        }
        System.out.println(mFaults.isEmpty()
                ? "All " + mDemanded.size() + (unchecked.isEmpty() ? "" : " other")
                        + " classes and their "
                        + mDemanded.values().stream().mapToInt(List::size).sum()
                        + " members are there."
                : "Faults: " + mFaults.size() + ". The library does not work with these classes.");
        if (!mHidden.isEmpty()) {
            System.out.println("Hidden: " + mHidden.size()
                    + ", found only in an exempt process: its application is "
                    + "signed with the platform's key, or is on the system's partitions and has "
                    + "android:usesNonSdkApi=\"true\" or is a hidden-api-whitelisted-app.");
        }
        return mFaults.isEmpty() && !(isEnforced && !mHidden.isEmpty());
    }

    private void check(String owner, List<Member> demanded) {
        if (!mClasses.containsKey(owner)) {
            mFaults.add(owner + ": is missing"
                    + (demanded.isEmpty() ? "" : "; members: " + demanded.size()));
            return;
        }
        final List<Member> members = new ArrayList<>();
        final Set<String> absent = new LinkedHashSet<>();
        try {
            final Model type = addMembers(owner, new ArrayList<>(), members, absent);
            if (Modifier.isAbstract(type.access)
                    && demanded.stream().anyMatch(Member::isConstructor)) {
                mFaults.add(owner + ": is abstract, but the library constructs it");
            }
        } catch (IOException e) {
            mFaults.add(owner + ": " + e.getMessage());
            return;
        }
        absent.stream().filter(name -> !PLATFORM.matcher(name).matches()).forEach(
                name -> mFaults.add(owner + ": needs " + name + ", which is in none of the files"));
        demanded.forEach(wanted -> check(owner, wanted, members, absent));
    }

    /** Adds what JNI finds in the class, its superclasses and interfaces, in its search order. */
    private Model addMembers(String name, List<String> below, List<Member> members,
            Set<String> absent) throws IOException {
        if (below.contains(name)) {
            throw new IOException("its superclasses or interfaces lead back to " + name);
        }
        final Model type = read(below.isEmpty() ? "" : "needs " + name + ", which ",
                mClasses.get(name));
        final int notInherited =
                Modifier.isInterface(type.access) ? Modifier.STATIC | Modifier.PRIVATE : 0;
        type.members.stream()
                .filter(member -> below.isEmpty() || !member.isConstructor())
                .filter(member -> (member.access & notInherited) == 0)
                .forEach(members::add);
        below.add(name);
        for (String above : type.above) {
            if (mClasses.containsKey(above)) {
                addMembers(above, below, members, absent);
            } else if (!above.equals("java.lang.Object")) {
                absent.add(above);
            }
        }
        below.remove(name);
        return type;
    }

    private void check(String owner, Member wanted, List<Member> members, Set<String> absent) {
        final List<Member> named =
                members.stream().filter(member -> member.name.equals(wanted.name)).toList();
        final Member found = named.stream()
                .filter(member -> member.declaration.equals(wanted.declaration))
                .findFirst().orElse(null);
        if (found == null) {
            mFaults.add(owner + ": " + wanted + " is missing"
                    + (absent.isEmpty() || wanted.isConstructor() ? ""
                            : ", unless it is in " + String.join(" or ", absent))
                    + (named.isEmpty() ? "" : named.stream().map(Member::toString).distinct()
                            .collect(Collectors.joining(", ", "; there is ", ""))));
        } else if (Modifier.isStatic(found.access)) {
            mFaults.add(owner + ": " + wanted + " is static");
        } else if (Modifier.isNative(wanted.access & ~found.access)) {
            mFaults.add(owner + ": " + wanted + " is not declared native");
        } else {
            found.lists.stream().filter(HIDING::contains)
                    .map(list -> list.toString().replace("greylist-max", "max-target"))
                    .map(list -> list.replace("blacklist", "blocked"))
                    .forEach(list -> mHidden.add(owner + ": " + wanted + " is hidden: " + list));
        }
    }
}
