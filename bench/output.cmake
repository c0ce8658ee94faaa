add_executable(bench_output ${CMAKE_CURRENT_LIST_DIR}/bench_output.cpp)
target_link_libraries(bench_output PRIVATE output loadcal_test_support benchmark::benchmark
                                           loadcal_warnings)

if(TARGET output_report)
  add_executable(bench_report ${CMAKE_CURRENT_LIST_DIR}/bench_report.cpp)
  target_link_libraries(bench_report PRIVATE output_report loadcal_test_support
                                             benchmark::benchmark loadcal_warnings)
endif()
