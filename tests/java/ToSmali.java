import java.io.IOException;
import java.lang.reflect.Modifier;
import java.nio.file.Files;
import java.nio.file.Path;
import org.objectweb.asm.ClassReader;
import org.objectweb.asm.Opcodes;
import org.objectweb.asm.tree.ClassNode;
import org.objectweb.asm.tree.MethodNode;

/** Writes a smali file next to each class file, to be assembled to dex. All methods throw. */
public final class ToSmali {
    private ToSmali() {}

    public static void main(String[] files) throws IOException {
        for (String file : files) {
            final ClassNode type = new ClassNode();
            new ClassReader(Files.readAllBytes(Path.of(file))).accept(type, ClassReader.SKIP_CODE);
            final StringBuilder text = new StringBuilder();
            text.append(".class " + Modifier.toString(type.access & ~Opcodes.ACC_SUPER) + " L"
                    + type.name + ";\n");
            text.append(".super L" + type.superName + ";\n");
            type.interfaces.forEach(name -> text.append(".implements L" + name + ";\n"));
            type.fields.forEach(field -> text.append(
                    ".field " + (Modifier.isStatic(field.access) ? "static " : "") + field.name
                    + ":" + field.desc + "\n"));
            for (MethodNode method : type.methods) {
                text.append(".method "
                        + Modifier.toString(method.access & Modifier.methodModifiers())
                        + (method.name.startsWith("<") ? " constructor " : " ") + method.name
                        + method.desc + "\n");
                if ((method.access & (Opcodes.ACC_ABSTRACT | Opcodes.ACC_NATIVE)) == 0) {
                    text.append(".registers 32\nconst/4 v0, 0\nthrow v0\n");
                }
                text.append(".end method\n");
            }
            Files.writeString(Path.of(file.replace(".class", ".smali")), text);
        }
    }
}
