# What tests and measurements share: the virtual machine with the library loaded, fault injection, and the table of
# functions.
java_jar(tests tests/java/src platform_jar)
add_library(test_host STATIC tests/support/host.cpp tests/support/device.cpp)
target_include_directories(test_host PUBLIC ${PROJECT_SOURCE_DIR})
target_compile_definitions(test_host PUBLIC
    PROJECT_FOLDER="${PROJECT_SOURCE_DIR}"
    BUILD_FOLDER="${CMAKE_BINARY_DIR}")
target_compile_definitions(test_host PRIVATE
    TESTS_JAVA_HOME="${PIPELINE_JAVA_HOME}"
    TESTS_JARS="${CMAKE_BINARY_DIR}/java"
    TESTS_LIBRARY="$<TARGET_FILE:halvorin_velmora_pipeline>")
target_link_libraries(test_host PUBLIC halvorin_velmora_pipeline platform::log platform::cutils
    platform::utils platform::basic jni_headers Threads::Threads ${CMAKE_DL_LIBS})
add_dependencies(test_host tests_jar)
if(PIPELINE_ANDROID)
    target_compile_definitions(test_host PUBLIC TESTS_ANDROID_RUNTIME)
endif()

add_library(test_fault_injection STATIC tests/support/fault_injection.cpp tests/support/refbase_count.cpp tests/functions.cpp)
target_link_libraries(test_fault_injection PUBLIC test_host)
