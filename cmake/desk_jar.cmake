# desk_jar(<target> NAME <base name> SOURCES <folder> [CLASSPATH <targets of desk_jar>...])
# Compiles every Java source below a folder into java/<base name>.jar of the build folder.
function(desk_jar target)
    cmake_parse_arguments(ARG "" "NAME;SOURCES" "CLASSPATH" ${ARGN})
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${ARG_SOURCES}/*.java)
    set(jar ${CMAKE_BINARY_DIR}/java/${ARG_NAME}.jar)
    set(classes ${CMAKE_CURRENT_BINARY_DIR}/${target}.classes)
    set(class_path "")
    set(jars "")
    foreach(other IN LISTS ARG_CLASSPATH)
        get_target_property(other_jar ${other} DESK_JAR)
        list(APPEND jars ${other_jar})
    endforeach()
    if(jars)
        list(JOIN jars ":" joined)
        set(class_path -cp ${joined})
    endif()
    add_custom_command(
        OUTPUT ${jar}
        COMMAND ${CMAKE_COMMAND} -E rm -rf ${classes}
        COMMAND ${Java_JAVAC_EXECUTABLE} --release 17 -Xlint:all -Werror ${class_path} -d ${classes}
                ${sources}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/java
        COMMAND ${Java_JAR_EXECUTABLE} cf ${jar} -C ${classes} .
        DEPENDS ${sources} ${jars}
        VERBATIM)
    add_custom_target(${target} ALL DEPENDS ${jar})
    set_target_properties(${target} PROPERTIES DESK_JAR ${jar})
    if(ARG_CLASSPATH)
        add_dependencies(${target} ${ARG_CLASSPATH})
    endif()
endfunction()
