# cmake -DBUILD_DIR=... -DSOURCE_DIR=... -DWORK_DIR=... -P install_and_consume.cmake
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE code OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT code EQUAL 0)
    message(FATAL_ERROR "failed (${code}): ${ARGN}\n${out}\n${err}")
  endif()
  message(STATUS "${out}")
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/build -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_BUILD_TYPE=Release)
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build -j2)
run(${WORK_DIR}/build/consumer)
