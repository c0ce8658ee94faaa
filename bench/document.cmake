add_executable(bench_document ${CMAKE_CURRENT_LIST_DIR}/bench_document.cpp)
target_link_libraries(bench_document PRIVATE document loadcal_test_support benchmark::benchmark
                                             loadcal_warnings)
