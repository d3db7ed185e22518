# Runs one fuzz target for a bounded time: first over the regression cases
# and the seed corpus (read only), then on new inputs. New units go to
# WORK/new, crashes to WORK/artifacts; the source tree is never written.
# Called by CTest: cmake -DFUZZER=... -DWORK=... -DCORPUS=... -DREGRESSIONS=...
#                        -DSECONDS=... [-DDICT=-dict=FILE] -P RunFuzzer.cmake
foreach(var FUZZER WORK CORPUS SECONDS)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "RunFuzzer.cmake: ${var} is not set")
  endif()
endforeach()

file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK}/new ${WORK}/artifacts)

set(dirs ${WORK}/new)
foreach(dir ${REGRESSIONS} ${CORPUS})
  if(IS_DIRECTORY ${dir})
    list(APPEND dirs ${dir})
  endif()
endforeach()

set(extra "")
if(DICT)
  list(APPEND extra ${DICT})
endif()

# An allocation of 256 MB or more counts as a crash: a loader must refuse an
# absurd count or size before it allocates.
execute_process(
  COMMAND ${FUZZER} -max_total_time=${SECONDS} -timeout=10 -rss_limit_mb=2048 -malloc_limit_mb=256
          -print_final_stats=1 -artifact_prefix=${WORK}/artifacts/ ${extra} ${dirs}
  WORKING_DIRECTORY ${WORK}
  RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${FUZZER} failed (${result}); the input is in ${WORK}/artifacts")
endif()
