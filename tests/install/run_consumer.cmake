# Installs the project into a scratch prefix, then builds and runs a C99
# consumer against it twice: through find_package(kelsc) and through
# pkg-config.
file(REMOVE_RECURSE ${WORK_DIR})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/prefix
  COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)

execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/build -G ${GENERATOR}
  -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix "-DCMAKE_C_FLAGS=${C_FLAGS}"
  COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK_DIR}/build COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
execute_process(COMMAND ${WORK_DIR}/build/consumer RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE out)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "find_package consumer failed (${rc}): ${out}")
endif()
message(STATUS "find_package consumer: ${out}")

find_program(PKG_CONFIG pkg-config)
find_program(CC NAMES cc gcc)
if(PKG_CONFIG AND CC)
  file(GLOB_RECURSE pcfile ${WORK_DIR}/prefix/kelsc.pc)
  get_filename_component(pcdir "${pcfile}" DIRECTORY)
  set(ENV{PKG_CONFIG_PATH} ${pcdir})
  execute_process(COMMAND ${PKG_CONFIG} --cflags --libs kelsc OUTPUT_VARIABLE flags COMMAND_ERROR_IS_FATAL ANY
    OUTPUT_STRIP_TRAILING_WHITESPACE)
  separate_arguments(flags UNIX_COMMAND "${flags}")
  separate_arguments(cflags UNIX_COMMAND "${C_FLAGS}")
  execute_process(COMMAND ${CC} -std=c99 -Wall -Wextra -Werror -pedantic ${cflags} ${SOURCE_DIR}/consumer.c
    ${flags} -o ${WORK_DIR}/consumer_pc COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCH "-L([^ ;]+)" _ "${flags}")
  set(ENV{LD_LIBRARY_PATH} ${CMAKE_MATCH_1})
  execute_process(COMMAND ${WORK_DIR}/consumer_pc RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE out)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "pkg-config consumer failed (${rc}): ${out}")
  endif()
  message(STATUS "pkg-config consumer: ${out}")
endif()
