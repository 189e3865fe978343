# Installs the built project into a scratch prefix, builds the consumer
# against it with find_package, runs it and checks its output.
# Expects -DBUILD_DIR=... -DSOURCE_DIR=... -DWORK_DIR=...
file(REMOVE_RECURSE "${WORK_DIR}")
execute_process(COMMAND "${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${WORK_DIR}/prefix"
                RESULT_VARIABLE result OUTPUT_QUIET)
if(result)
  message(FATAL_ERROR "install failed: ${result}")
endif()
# The installed headers compile from the install alone: none needs an
# internal one.
file(GLOB_RECURSE headers RELATIVE "${WORK_DIR}/prefix/include/omtext" "${WORK_DIR}/prefix/include/omtext/*.h")
list(LENGTH headers count)
if(count LESS 20)
  message(FATAL_ERROR "only ${count} headers were installed")
endif()
set(all_headers "")
foreach(header ${headers})
  string(APPEND all_headers "#include \"${header}\"\n")
endforeach()
file(WRITE "${WORK_DIR}/all_headers.cpp" "${all_headers}")
execute_process(COMMAND "${CMAKE_COMMAND}" -S "${SOURCE_DIR}/tests/consumer" -B "${WORK_DIR}/build"
                        "-DALL_HEADERS=${WORK_DIR}/all_headers.cpp"
                        "-DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix"
                RESULT_VARIABLE result OUTPUT_VARIABLE log ERROR_VARIABLE log)
if(result)
  message(FATAL_ERROR "configuring the consumer failed:\n${log}")
endif()
execute_process(COMMAND "${CMAKE_COMMAND}" --build "${WORK_DIR}/build"
                RESULT_VARIABLE result OUTPUT_VARIABLE log ERROR_VARIABLE log)
if(result)
  message(FATAL_ERROR "building the consumer failed:\n${log}")
endif()
execute_process(COMMAND "${WORK_DIR}/build/consumer" RESULT_VARIABLE result OUTPUT_VARIABLE out)
if(result OR NOT out STREQUAL "Consumer\n+-+\n")
  message(FATAL_ERROR "the consumer printed '${out}' (status ${result})")
endif()
# The installed command finds its libraries relative to itself.
execute_process(COMMAND "${WORK_DIR}/prefix/bin/omtext" --version RESULT_VARIABLE result
                OUTPUT_VARIABLE out)
if(result OR NOT out MATCHES "^omtext ")
  message(FATAL_ERROR "the installed command printed '${out}' (status ${result})")
endif()
file(REMOVE_RECURSE "${WORK_DIR}")
