import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.LinkedHashSet;
import java.util.List;
import java.util.Map;
import java.util.Set;
import java.util.TreeMap;
import java.util.function.Consumer;
import java.util.stream.Stream;
import org.objectweb.asm.ClassReader;
import org.objectweb.asm.ClassVisitor;
import org.objectweb.asm.ClassWriter;
import org.objectweb.asm.Handle;
import org.objectweb.asm.Opcodes;
import org.objectweb.asm.Type;
import org.objectweb.asm.commons.ClassRemapper;
import org.objectweb.asm.commons.GeneratorAdapter;
import org.objectweb.asm.commons.Method;
import org.objectweb.asm.commons.Remapper;
import org.objectweb.asm.tree.AbstractInsnNode;
import org.objectweb.asm.tree.ClassNode;
import org.objectweb.asm.tree.FieldNode;
import org.objectweb.asm.tree.InvokeDynamicInsnNode;
import org.objectweb.asm.tree.MethodInsnNode;
import org.objectweb.asm.tree.MethodNode;

/**
 * Adapt CLASSES FOLDER TABLE: copies the classes of a folder, changed so that dx can translate
 * them and Android's runtime can run them. Lambdas become plain objects, nested classes no longer
 * need the nest to use each other's private members, and the changes of the table are made. ICU's
 * packages get the names that the core library uses.
 */
public final class Adapt implements Opcodes {
    /** In later class files, the classes of a nest use each other's private members. */
    private static final int WITHOUT_NESTS = V10;

    private final Map<String, ClassNode> mClasses = new TreeMap<>();
    private final List<ClassNode> mLambdas = new ArrayList<>();

    public static void main(String[] args) throws IOException {
        final Adapt adapt = new Adapt();
        adapt.read(Path.of(args[0]));
        for (String row : Files.readAllLines(Path.of(args[2]))) {
            if (!row.isBlank() && !row.startsWith("#")) {
                adapt.change(row.split("\\s+"));
            }
        }
        for (ClassNode node : adapt.mClasses.values()) {
            adapt.makePlain(node);
            write(node, args[1]);
        }
        for (ClassNode node : adapt.mLambdas) {
            write(node, args[1]);
        }
    }

    private void read(Path folder) throws IOException {
        final Remapper names = new Remapper() {
            @Override
            public String map(String name) {
                return name.replaceFirst("^com/ibm/icu/", "android/icu/");
            }
        };
        try (Stream<Path> files = Files.walk(folder)) {
            for (Path file : (Iterable<Path>) files.filter(path ->
                    path.toString().endsWith(".class"))::iterator) {
                final ClassNode node = new ClassNode();
                new ClassReader(Files.readAllBytes(file)).accept(new ClassRemapper(node, names), 0);
                mClasses.put(node.name, node);
            }
        }
    }

    private static void write(ClassNode node, String folder) throws IOException {
        final ClassWriter writer = new ClassWriter(ClassWriter.COMPUTE_MAXS);
        node.accept(writer);
        final Path file = Path.of(folder, node.name + ".class");
        Files.createDirectories(file.getParent());
        Files.write(file, writer.toByteArray());
    }

    /** Makes the change in one row of the table. */
    private void change(String[] row) {
        final String name = row[1];
        if (row[0].equals("class")) {
            final ClassNode added = new ClassNode();
            added.visit(V1_8, ACC_PUBLIC | ACC_SUPER, name, null, row[2], null);
            mClasses.put(name, added);
            return;
        }
        final ClassNode node = mClasses.get(name);
        if (node == null) {
            throw new IllegalArgumentException("no class " + name);
        }
        switch (row[0]) {
            case "field" -> node.visitField(ACC_PRIVATE, row[2], row[3], null, null);
            case "native" -> node.visitMethod(ACC_PUBLIC | ACC_NATIVE, row[2], row[3], null, null);
            case "static" -> node.visitMethod(ACC_PUBLIC | ACC_NATIVE | ACC_STATIC, row[2], row[3],
                    null, null);
            case "makes" -> {
                node.methods.removeIf(method -> method.name.equals(row[2])
                        && method.desc.equals(row[3]));
                generate(node, ACC_PRIVATE | ACC_STATIC, row[2], row[3], make -> {
                    final Type made = Type.getObjectType(name);
                    make.newInstance(made);
                    make.dup();
                    make.loadArgs();
                    make.invokeConstructor(made,
                            new Method("<init>", Type.VOID_TYPE, Type.getArgumentTypes(row[3])));
                });
            }
            case "rename" -> {
                final ClassNode renamed = new ClassNode();
                node.accept(new ClassRemapper(renamed, new Remapper() {
                    @Override
                    public String mapFieldName(String owner, String field, String type) {
                        return owner.equals(name) && field.equals(row[2]) ? row[3] : field;
                    }
                }));
                mClasses.put(name, renamed);
            }
            default -> throw new IllegalArgumentException("no such change: " + row[0]);
        }
    }

    private void makePlain(ClassNode node) {
        if (node.version > WITHOUT_NESTS) {
            open(node);
        }
        for (MethodNode method : List.copyOf(node.methods)) {
            for (AbstractInsnNode instruction : method.instructions) {
                if (instruction instanceof InvokeDynamicInsnNode dynamic) {
                    if (!dynamic.bsm.getOwner().equals("java/lang/invoke/LambdaMetafactory")) {
                        throw new IllegalArgumentException(node.name + "." + method.name + " uses "
                                + dynamic.bsm);
                    }
                    method.instructions.set(dynamic, lambda(node, dynamic));
                }
            }
        }
    }

    /** Lets the other classes of the nest, all in one package, use the private members. */
    private static void open(ClassNode node) {
        node.version = V1_8;
        node.nestHostClass = null;
        node.nestMembers = null;
        for (FieldNode field : node.fields) {
            field.access &= ~ACC_PRIVATE;
        }
        for (MethodNode method : node.methods) {
            if ((method.access & ACC_PRIVATE) != 0) {
                method.access &= ~ACC_PRIVATE;
                if ((node.access & ACC_INTERFACE) != 0) {
                    method.access |= ACC_PUBLIC;
                } else if (!method.name.equals("<init>")) {
                    // A subclass with a method of this name is refused; otherwise its method would
                    // be called.
                    method.access |= ACC_FINAL;
                }
            }
        }
    }

    /**
     * Adds a method that does what the lambda does, and a class whose objects keep the captured
     * values and call that method. The returned instruction makes such an object from the captured
     * values, which are on the stack.
     */
    private MethodInsnNode lambda(ClassNode node, InvokeDynamicInsnNode dynamic) {
        final Type[] captured = Type.getArgumentTypes(dynamic.desc);
        final Type erased = (Type) dynamic.bsmArgs[0];
        final Type actual = (Type) dynamic.bsmArgs[2];
        final ClassNode object = new ClassNode();
        final List<String> interfaces = new ArrayList<>();
        interfaces.add(Type.getReturnType(dynamic.desc).getInternalName());
        final Set<Type> signatures = new LinkedHashSet<>(List.of(erased));
        // The further arguments of altMetafactory: flags, then the marker interfaces and signatures
        // that they announce.
        for (Object argument : List.of(dynamic.bsmArgs).subList(3, dynamic.bsmArgs.length)) {
            if (argument instanceof Integer flags && (flags & 1) != 0) {
                interfaces.add("java/io/Serializable");
            } else if (argument instanceof Type type && type.getSort() == Type.METHOD) {
                signatures.add(type);
            } else if (argument instanceof Type type) {
                interfaces.add(type.getInternalName());
            }
        }
        final Type[] taken = Stream.of(captured, actual.getArgumentTypes()).flatMap(Stream::of)
                .toArray(Type[]::new);
        final String does = Type.getMethodDescriptor(actual.getReturnType(), taken);
        final String name = node.name + "$$Lambda" + mLambdas.size();
        final String method = "lambda$$" + mLambdas.size();
        addCall(node, method, does, (Handle) dynamic.bsmArgs[1]);

        object.visit(V1_8, ACC_FINAL | ACC_SUPER | ACC_SYNTHETIC, name, null, "java/lang/Object",
                interfaces.toArray(new String[0]));
        final Type self = Type.getObjectType(name);
        generate(object, 0, "<init>", "()V", make -> {
            make.loadThis();
            make.visitMethodInsn(INVOKESPECIAL, "java/lang/Object", "<init>", "()V", false);
        });
        generate(object, ACC_STATIC, "of", dynamic.desc, make -> {
            make.newInstance(self);
            make.dup();
            make.visitMethodInsn(INVOKESPECIAL, name, "<init>", "()V", false);
            for (int i = 0; i < captured.length; ++i) {
                object.visitField(0, "m" + i, captured[i].getDescriptor(), null, null);
                make.dup();
                make.loadArg(i);
                make.putField(self, "m" + i, captured[i]);
            }
        });
        for (Type signature : signatures) {
            generate(object, ACC_PUBLIC, dynamic.name, signature.getDescriptor(), make -> {
                for (int i = 0; i < captured.length; ++i) {
                    make.loadThis();
                    make.getField(self, "m" + i, captured[i]);
                }
                for (int i = 0; i < signature.getArgumentTypes().length; ++i) {
                    make.loadArg(i);
                    convert(make, signature.getArgumentTypes()[i], actual.getArgumentTypes()[i]);
                }
                make.visitMethodInsn(INVOKESTATIC, node.name, method, does,
                        (node.access & ACC_INTERFACE) != 0);
                convert(make, actual.getReturnType(), signature.getReturnType());
            });
        }
        mLambdas.add(object);
        return new MethodInsnNode(INVOKESTATIC, name, "of", dynamic.desc, false);
    }

    /** Adds the method to the lambda's class, because it may call private members there. */
    private static void addCall(ClassNode node, String name, String descriptor, Handle target) {
        final Type owner = Type.getObjectType(target.getOwner());
        final boolean constructs = target.getTag() == H_NEWINVOKESPECIAL;
        final boolean isStatic = target.getTag() == H_INVOKESTATIC;
        final List<Type> takes = new ArrayList<>(List.of(Type.getArgumentTypes(target.getDesc())));
        if (!constructs && !isStatic) {
            takes.add(0, owner);
        }
        final int access = ACC_STATIC | ACC_SYNTHETIC
                | ((node.access & ACC_INTERFACE) != 0 ? ACC_PUBLIC : 0);
        generate(node, access, name, descriptor, make -> {
            if (constructs) {
                make.newInstance(owner);
                make.dup();
            }
            for (int i = 0; i < takes.size(); ++i) {
                make.loadArg(i);
                convert(make, Type.getArgumentTypes(descriptor)[i], takes.get(i));
            }
            make.visitMethodInsn(switch (target.getTag()) {
                case H_INVOKESTATIC -> INVOKESTATIC;
                case H_INVOKEINTERFACE -> INVOKEINTERFACE;
                case H_INVOKEVIRTUAL -> INVOKEVIRTUAL;
                default -> INVOKESPECIAL;
            }, target.getOwner(), target.getName(), target.getDesc(), target.isInterface());
            convert(make, constructs ? owner : Type.getReturnType(target.getDesc()),
                    Type.getReturnType(descriptor));
        });
    }

    private static void generate(ClassNode node, int access, String name, String descriptor,
            Consumer<GeneratorAdapter> body) {
        final GeneratorAdapter adapter = new GeneratorAdapter(
                node.visitMethod(access, name, descriptor, null, null), access, name, descriptor);
        body.accept(adapter);
        adapter.returnValue();
        adapter.endMethod();
    }

    /** Converts the value on the stack as a lambda does. */
    private static void convert(GeneratorAdapter make, Type from, Type to) {
        final boolean fromObject = from.getSort() >= Type.ARRAY;
        final boolean toObject = to.getSort() >= Type.ARRAY;
        if (to.equals(Type.VOID_TYPE)) {
            switch (from.getSize()) {
                case 2 -> make.pop2();
                case 1 -> make.pop();
                default -> { }
            }
        } else if (!fromObject && !toObject) {
            make.cast(from, to);
        } else if (!fromObject) {
            make.valueOf(from);
        } else if (toObject) {
            if (!from.equals(to)) {
                make.checkCast(to);
            }
        } else if (from.equals(Type.getType(Character.class))) {
            make.unbox(Type.CHAR_TYPE);
            make.cast(Type.CHAR_TYPE, to);
        } else {
            make.unbox(to); // from any number to any number
        }
    }
}
