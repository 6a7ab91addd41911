# Runs the same exports with two builds' tools and requires identical bytes.
# STL jobs name their up axis: y, the host's orientation, or z (the tool's
# default, as the demo writes it).
file(REMOVE_RECURSE ${SCRATCH})
file(GLOB samples ${SAMPLES}/*.vek)

function(run_exports tool out)
  file(MAKE_DIRECTORY ${out})
  set(jobs
    "demo|-o|${out}/demo"
    "export|-o|${out}/own-size.stl|--ascii|--up|y"
    "export|-o|${out}/tall.stl|--up|y|--height|7.3"
    "export|-o|${out}/tall-ascii.stl|--ascii|--up|y|--height|7.3"
    "export|-o|${out}/upright.stl|--ascii|--up|z|--height|7.3"
    "export|-o|${out}/colours.wrl|--colors|--height|7.3"
    "export|-o|${out}/plain.wrl")
  foreach(job IN LISTS jobs)
    string(REPLACE "|" ";" job "${job}")
    set(arguments ${job})
    if(NOT arguments MATCHES "^demo")
      list(APPEND arguments ${samples})
    endif()
    execute_process(COMMAND ${tool} ${arguments} RESULT_VARIABLE status OUTPUT_QUIET ERROR_VARIABLE err)
    if(NOT status EQUAL 0)
      message(FATAL_ERROR "${tool} ${arguments} failed: ${err}")
    endif()
  endforeach()
endfunction()

run_exports(${TOOL} ${SCRATCH}/this)
run_exports(${REFERENCE} ${SCRATCH}/reference)

file(GLOB_RECURSE outputs RELATIVE ${SCRATCH}/reference ${SCRATCH}/reference/*.stl ${SCRATCH}/reference/*.wrl)
list(LENGTH outputs count)
if(count LESS 9)
  message(FATAL_ERROR "expected 9 outputs, found ${count}")
endif()
foreach(output IN LISTS outputs)
  execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${SCRATCH}/this/${output} ${SCRATCH}/reference/${output}
                  RESULT_VARIABLE differ)
  if(differ)
    message(FATAL_ERROR "the two builds wrote different bytes for ${output}")
  endif()
endforeach()
message(STATUS "${count} outputs identical")
