# Installs the build into a folder of its own, builds the program of tests/view/host against it and runs it.
set(prefix "${FOLDER}/prefix")
file(REMOVE_RECURSE "${FOLDER}")
if(SANITIZE)
  set(flags "-fsanitize=${SANITIZE}")
endif()
foreach(command IN ITEMS
    "--install;${BUILD};--prefix;${prefix}"
    "-S;${SOURCE};-B;${FOLDER}/build;-G;${GENERATOR};-DCMAKE_PREFIX_PATH=${prefix};-DCMAKE_CXX_COMPILER=${COMPILER};-DCMAKE_CXX_FLAGS=${flags}"
    "--build;${FOLDER}/build"
    "--build;${FOLDER}/build;--target;run")
  execute_process(COMMAND "${CMAKE_COMMAND}" ${command} OUTPUT_VARIABLE output ERROR_VARIABLE output
                  RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${output}")
  endif()
endforeach()
