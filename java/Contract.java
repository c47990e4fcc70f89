import java.io.EOFException;
import java.io.IOException;
import java.io.InputStream;
import java.lang.reflect.Modifier;
import java.nio.ByteBuffer;
import java.nio.charset.StandardCharsets;
import java.nio.file.AccessDeniedException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Collection;
import java.util.HashMap;
import java.util.LinkedHashMap;
import java.util.LinkedHashSet;
import java.util.List;
import java.util.Map;
import java.util.Set;
import java.util.concurrent.Callable;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import java.util.stream.Collectors;
import java.util.stream.Stream;
import java.util.zip.ZipEntry;
import java.util.zip.ZipException;
import java.util.zip.ZipFile;
import org.jf.dexlib2.Opcodes;
import org.jf.dexlib2.dexbacked.DexBackedClassDef;
import org.jf.dexlib2.dexbacked.DexBackedDexFile;
import org.jf.dexlib2.dexbacked.DexBackedMethod;
import org.jf.dexlib2.dexbacked.DexReader;
import org.jf.dexlib2.dexbacked.raw.HeaderItem;
import org.jf.dexlib2.dexbacked.raw.ItemType;
import org.jf.dexlib2.dexbacked.raw.MapItem;
import org.jf.dexlib2.iface.Field;
import org.objectweb.asm.ClassReader;
import org.objectweb.asm.Type;
import org.objectweb.asm.tree.ClassNode;

/**
 * Prints as a table what the library demands of Java, as keep.pro lists it, or checks files
 * against it. Class files and dex are read into one model, and the check uses only the model.
 */
public final class Contract {
    /** A method. Its declaration is like "int onScan(a.b.Settings, int)", without modifiers. */
    private record Member(String name, String declaration, int access, int hiddenFlags) {
        private static final List<String> LISTS = List.of(
                "sdk", "unsupported", "blocked", "max-target-o", "max-target-p", "max-target-q",
                "max-target-r");
        /** The list; also core-platform-api and test-api, which do not affect applications. */
        private static final int KNOWN_FLAGS = 0x1f;

        Member(String name, Type result, List<Type> parameters, int access, int hiddenFlags) {
            this(name, (name.equals("<init>") ? "" : result.getClassName() + " ") + name
                    + parameters.stream().map(Type::getClassName)
                            .collect(Collectors.joining(", ", "(", ")")),
                    access, hiddenFlags);
        }

        boolean isConstructor() {
            return name.equals("<init>");
        }

        /** The list that hides it from an application of this level, or null. */
        String hidingList() {
            final int list = hiddenFlags & 7;
            if (list >= LISTS.size() || (hiddenFlags & ~KNOWN_FLAGS) != 0) {
                return "unknown value " + hiddenFlags;
            }
            return list < LISTS.indexOf("blocked") ? null : LISTS.get(list);
        }

        @Override
        public String toString() {
            return (Modifier.isStatic(access) ? "static " : "")
                    + (Modifier.isNative(access) ? "native " : "")
                    + declaration.replaceAll("[^ (]+\\.", "");
        }
    }

    private record Model(String name, int access, String superclass, List<String> interfaces,
            List<Member> members) {
        /** The members that JNI finds here for a subclass. */
        Stream<Member> inherited() {
            return members.stream().filter(member -> !Modifier.isInterface(access)
                    || (member.access & (Modifier.STATIC | Modifier.PRIVATE)) == 0);
        }
    }

    private static final String CLASS = "[\\w$]+(?:\\.[\\w$]+)+";
    private static final String TYPE =
            "(?:boolean|byte|char|short|int|long|float|double|" + CLASS + ")(?:\\[\\])*";
    private static final String PARAMETERS = "\\((?:" + TYPE + "(?:, " + TYPE + ")*)?\\)";
    private static final Pattern RULE = Pattern.compile("-keep class (" + CLASS + ")( \\{)?");
    private static final Pattern METHOD =
            Pattern.compile("    (native )?((?:void|" + TYPE + ") ([\\w$]+)" + PARAMETERS + ");");
    private static final Pattern CONSTRUCTOR =
            Pattern.compile("    ()((<init>)" + PARAMETERS + ");");

    private static final Pattern PLATFORM = Pattern.compile(
            "(?:javax?|dalvik|libcore|org\\.(?:json|w3c|xml)|android"
                    + "|com\\.android\\.internal)\\..*");
    private static final int LIMIT_MIB = 256;

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
        } catch (AccessDeniedException e) {
            reason = "no permission to read it";
        } catch (ZipException | EOFException e) {
            reason = "cannot be unpacked: " + e.getMessage();
        } catch (IOException e) {
            reason = e.getMessage();
        } catch (OutOfMemoryError e) {
            reason = "needs too much memory";
        } catch (Exception e) { // the libraries may throw anything for broken input
            reason = "is broken";
        }
        throw new IOException(prefix + reason);
    }

    // --- keep.pro ---

    private static Map<String, List<Member>> parse(Path keepRules) throws IOException {
        final Map<String, List<Member>> demanded = new LinkedHashMap<>();
        List<Member> members = null; // of the rule being read
        int number = 0;
        for (String line : Files.readAllLines(keepRules)) {
            ++number;
            final Matcher rule = RULE.matcher(line);
            final Matcher method = METHOD.matcher(line);
            final Matcher member = method.matches() ? method : CONSTRUCTOR.matcher(line);
            if (members == null && rule.matches() && !demanded.containsKey(rule.group(1))) {
                demanded.put(rule.group(1), new ArrayList<>());
                members = rule.group(2) == null ? null : demanded.get(rule.group(1));
            } else if (members != null && member.matches()) {
                final boolean isNative = "native ".equals(member.group(1));
                members.add(new Member(member.group(3), member.group(2),
                        isNative ? Modifier.NATIVE : 0, 0));
            } else if (members != null && line.equals("}")) {
                members = null;
            } else if (!line.isBlank() && !line.startsWith("#")) {
                throw new IOException("line " + number + " is not understood: " + line);
            }
        }
        if (members != null || demanded.isEmpty()) {
            throw new IOException("ends too early, at line " + number);
        }
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
        if (!Files.isRegularFile(file)) { // reading a pipe might never end
            throw new IOException(Files.exists(file) ? "not a regular file" : "no such file");
        }
        final String start;
        try (InputStream stream = Files.newInputStream(file)) {
            start = new String(stream.readNBytes(4), StandardCharsets.ISO_8859_1);
        }
        if (start.equals("dex\n")) {
            return classesOfDex(bytes(Files.newInputStream(file), Files.size(file)));
        }
        if (!start.startsWith("PK")) {
            throw new IOException("neither a jar, an APK nor a dex file");
        }
        // Stays open, because a class file is read only when it is needed.
        final ZipFile zip = new ZipFile(file.toFile());
        final Map<String, Callable<Model>> classes = new HashMap<>();
        ZipEntry dex = zip.getEntry("classes.dex");
        // Stops at the first missing number, as a device does.
        for (int next = 2; dex != null; ++next) {
            final ZipEntry entry = dex;
            read(entry.getName() + " ",
                    () -> classesOfDex(bytes(zip.getInputStream(entry), entry.getSize())))
                    .forEach(classes::putIfAbsent);
            dex = zip.getEntry("classes" + next + ".dex");
        }
        if (zip.getEntry("classes.dex") == null) {
            zip.stream().filter(entry -> entry.getName().endsWith(".class"))
                    .forEach(entry -> classes.put(
                            javaName(entry.getName().replaceFirst("\\.class$", "")),
                            () -> ofClassFile(bytes(zip.getInputStream(entry), entry.getSize()))));
        }
        if (classes.isEmpty()) {
            throw new IOException("holds neither classes.dex nor class files");
        }
        return classes;
    }

    private static byte[] bytes(InputStream source, long size) throws IOException {
        try (source) {
            if (size > LIMIT_MIB << 20) {
                throw new IOException("is larger than " + LIMIT_MIB + " MiB");
            }
            final byte[] bytes = new byte[(int) size];
            if (source.readNBytes(bytes, 0, bytes.length) != size || source.read() >= 0) {
                throw new IOException("is broken: its size is not as stated");
            }
            return bytes;
        }
    }

    private static Model ofClassFile(byte[] bytes) throws IOException {
        final ByteBuffer header = ByteBuffer.wrap(bytes);
        if (header.getInt(0) != 0xcafebabe) {
            throw new IOException("is broken");
        }
        final ClassReader reader;
        try {
            reader = new ClassReader(bytes);
        } catch (IllegalArgumentException e) {
            throw new IOException(
                    "is too new to be read (Java " + (header.getShort(6) - 44) + ")");
        }
        final ClassNode node = new ClassNode();
        reader.accept(node, ClassReader.SKIP_CODE);
        return new Model(javaName(node.name), node.access, javaName(node.superName),
                node.interfaces.stream().map(Contract::javaName).toList(),
                node.methods.stream()
                        .map(method -> new Member(method.name, Type.getReturnType(method.desc),
                                List.of(Type.getArgumentTypes(method.desc)), method.access, 0))
                        .toList());
    }

    private static Map<String, Callable<Model>> classesOfDex(byte[] bytes) throws IOException {
        final int version = HeaderItem.getVersion(bytes, 0);
        if (version > 40) {
            throw new IOException("is too new to be read (dex " + version + ")");
        }
        final DexBackedDexFile dex = new DexBackedDexFile(Opcodes.getDefault(), bytes, 0);
        if (version < 0
                || dex.getBuffer().readSmallUint(HeaderItem.FILE_SIZE_OFFSET) != bytes.length) {
            throw new IOException("is broken");
        }
        // Its size, then for each class the offset of its flags, or 0 if it has none.
        final MapItem hidden = dex.getMapItemForSection(ItemType.HIDDENAPI_CLASS_DATA_ITEM);
        final List<DexBackedClassDef> types = dex.getClassSection();
        final Map<String, Callable<Model>> classes = new HashMap<>();
        for (int i = 0; i < types.size(); ++i) {
            final DexBackedClassDef type = types.get(i);
            final int flags = hidden == null ? 0
                    : dex.getDataBuffer().readSmallUint(hidden.getOffset() + 4 + 4 * i);
            classes.putIfAbsent(nameOf(type.getType()), () -> ofDex(type,
                    flags == 0 ? null : dex.getDataBuffer().readerAt(hidden.getOffset() + flags)));
        }
        return classes;
    }

    /** flags: a number for each field, then for each method; null if there are none. */
    private static Model ofDex(DexBackedClassDef type, DexReader<?> flags) {
        for (Iterable<? extends Field> fields
                : List.of(type.getStaticFields(false), type.getInstanceFields(false))) {
            fields.forEach(field -> next(flags));
        }
        final List<Member> members = new ArrayList<>();
        for (Iterable<? extends DexBackedMethod> methods
                : List.of(type.getDirectMethods(false), type.getVirtualMethods(false))) {
            methods.forEach(method -> members.add(
                    new Member(method.getName(), Type.getType(method.getReturnType()),
                            method.getParameterTypes().stream().map(Type::getType).toList(),
                            method.getAccessFlags(), next(flags))));
        }
        return new Model(nameOf(type.getType()), type.getAccessFlags(),
                nameOf(type.getSuperclass()),
                type.getInterfaces().stream().map(Contract::nameOf).toList(), members);
    }

    private static int next(DexReader<?> flags) {
        return flags == null ? 0 : flags.readSmallUleb128();
    }

    private static String nameOf(String descriptor) {
        return javaName(
                descriptor == null ? null : descriptor.substring(1, descriptor.length() - 1));
    }

    /** Null if there is no superclass. */
    private static String javaName(String internalName) {
        return internalName == null ? null : internalName.replace('/', '.');
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

    private void check(String owner, List<Member> members) {
        if (!mClasses.containsKey(owner)) {
            mFaults.add(owner + ": is missing"
                    + (members.isEmpty() ? "" : "; members: " + members.size()));
            return;
        }
        final Map<String, Model> lineage = new LinkedHashMap<>();
        final Set<String> absent = new LinkedHashSet<>();
        try {
            addLineage(owner, "", new ArrayList<>(), lineage, absent);
        } catch (IOException e) {
            mFaults.add(owner + ": " + e.getMessage());
            return;
        }
        absent.stream().filter(name -> !PLATFORM.matcher(name).matches()).forEach(
                name -> mFaults.add(owner + ": needs " + name + ", which is in none of the files"));
        final Model type = lineage.get(owner);
        if (Modifier.isAbstract(type.access) && members.stream().anyMatch(Member::isConstructor)) {
            mFaults.add(owner + ": is abstract, but the library constructs it");
        }
        for (Member wanted : members) {
            check(owner, wanted, wanted.isConstructor() ? List.of(type) : lineage.values(),
                    wanted.isConstructor() ? Set.of() : absent);
        }
    }

    /** Adds the class, its superclasses, then their interfaces: the order of JNI's search. */
    private void addLineage(String name, String prefix, List<String> below,
            Map<String, Model> lineage, Set<String> absent) throws IOException {
        if (below.contains(name)) {
            throw new IOException("its superclasses or interfaces lead back to " + name);
        }
        final Callable<Model> reading = mClasses.get(name);
        if (reading == null && !name.equals("java.lang.Object")) {
            absent.add(name);
        } else if (reading != null && !lineage.containsKey(name)) {
            final Model type = read(prefix, reading);
            if (!type.name.equals(name)) {
                throw new IOException(prefix + "is broken: it contains the class " + type.name);
            }
            lineage.put(name, type);
            below.add(name);
            for (String above : Stream.concat(
                    Stream.ofNullable(type.superclass), type.interfaces.stream()).toList()) {
                addLineage(above, "needs " + above + ", which ", below, lineage, absent);
            }
            below.remove(name);
        }
    }

    private void check(String owner, Member wanted, Collection<Model> lineage, Set<String> absent) {
        final List<Member> named = lineage.stream().flatMap(Model::inherited)
                .filter(member -> member.name.equals(wanted.name)).toList();
        final Member found = named.stream()
                .filter(member -> member.declaration.equals(wanted.declaration))
                .findFirst().orElse(null);
        if (found == null) {
            mFaults.add(owner + ": " + wanted + " is missing"
                    + (absent.isEmpty() ? "" : ", unless it is in " + String.join(" or ", absent))
                    + (named.isEmpty() ? "" : named.stream().map(Member::toString).distinct()
                            .collect(Collectors.joining(", ", "; there is ", ""))));
        } else if (Modifier.isStatic(found.access)) {
            mFaults.add(owner + ": " + wanted + " is static");
        } else if (Modifier.isNative(wanted.access & ~found.access)) {
            mFaults.add(owner + ": " + wanted + " is not declared native");
        } else if (found.hidingList() != null) {
            mHidden.add(owner + ": " + wanted + " is hidden: " + found.hidingList());
        }
    }
}
