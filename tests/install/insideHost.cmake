# Configures a host that has SOURCE in its own tree, below FOLDER, and compiles a file of it that this project's
# warnings would refuse.
function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
endfunction()

file(REMOVE_RECURSE "${FOLDER}")
file(WRITE "${FOLDER}/main.cpp" "#include \"sorn/Sorn.h\"\nint main(int count, char** unused) { return (int)1.5; }\n")
file(WRITE "${FOLDER}/CMakeLists.txt" "cmake_minimum_required(VERSION 3.25)
project(host CXX)
add_subdirectory(\"${SOURCE}\" sorn)
add_executable(host main.cpp)
target_link_libraries(host PRIVATE Sorn::sorn)
")
run("${CMAKE_COMMAND}" -G Ninja -S "${FOLDER}" -B "${FOLDER}/build")
run("${CMAKE_COMMAND}" --build "${FOLDER}/build" --target CMakeFiles/host.dir/main.cpp.o)
