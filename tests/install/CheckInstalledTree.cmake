# Script run by the install.consumers test; see CMakeLists.txt beside it.
file(REMOVE_RECURSE ${SCRATCH})
set(PREFIX ${SCRATCH}/prefix)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "failed: ${ARGN}\n${out}\n${err}")
  endif()
  set(LAST_OUTPUT "${out}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${PREFIX})

foreach(expected include/ombrel/ombrel.h include/ombrel/geometry/BBox.h include/ombrel/support/QMString.h
        include/ombrel/engine/OmbrelExport.h bin/ombrel)
  if(NOT EXISTS ${PREFIX}/${expected})
    message(FATAL_ERROR "not installed: ${expected}")
  endif()
endforeach()
# The installed tool finds the installed library.
run(${PREFIX}/bin/ombrel --version)

file(GLOB_RECURSE pc_files ${PREFIX}/*/ombrel.pc)
list(GET pc_files 0 pc_file)
get_filename_component(pc_dir ${pc_file} DIRECTORY)

# C consumer, compiled and linked with the flags pkg-config gives.
set(ENV{PKG_CONFIG_PATH} ${pc_dir})
run(pkg-config --cflags ombrel)
string(STRIP "${LAST_OUTPUT}" cflags)
run(pkg-config --libs ombrel)
string(STRIP "${LAST_OUTPUT}" libs)
separate_arguments(cflags UNIX_COMMAND "${cflags}")
separate_arguments(libs UNIX_COMMAND "${libs}")
separate_arguments(c_flags UNIX_COMMAND "${C_FLAGS}")
get_filename_component(libdir ${pc_dir} DIRECTORY)
run(${C_COMPILER} ${c_flags} ${cflags} ${CONSUMER_DIR}/c_consumer.c -o ${SCRATCH}/c_consumer ${libs}
    -Wl,-rpath,${libdir})
run(${SCRATCH}/c_consumer ${SCRATCH}/c_consumer.stl)

# C++ consumer, configured with find_package(Ombrel).
run(${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${SCRATCH}/cxx -G Ninja -DEXAMPLES_DIR=${EXAMPLES_DIR}
    -DCMAKE_PREFIX_PATH=${PREFIX} -DCMAKE_CXX_COMPILER=${CXX_COMPILER} "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}")
run(${CMAKE_COMMAND} --build ${SCRATCH}/cxx)
run(${SCRATCH}/cxx/cxx_consumer)
message(STATUS "installed tree works: ${LAST_OUTPUT}")

# The README's example program, as printed there, exports the sample scene.
file(READ ${EXAMPLES_DIR}/export_scene.cpp example)
file(READ ${README} readme)
string(FIND "${readme}" "${example}" at)
if(at EQUAL -1)
  message(FATAL_ERROR "README.md does not hold examples/export_scene.cpp as it is")
endif()
file(GLOB samples ${SAMPLES_DIR}/*.vek)
run(${SCRATCH}/cxx/export_scene ${SCRATCH}/example.stl 100 ${samples})
if(NOT LAST_OUTPUT MATCHES "^6856 triangles, 342884 bytes, [0-9.]+ x [0-9.]+ x 100.00 mm\n")
  message(FATAL_ERROR "unexpected example output:\n${LAST_OUTPUT}")
endif()
message(STATUS "example program works: ${LAST_OUTPUT}")
