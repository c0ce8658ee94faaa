if(TARGET dialog_qt)
  add_executable(bench_dialog ${CMAKE_CURRENT_LIST_DIR}/bench_dialog.cpp)
  target_link_libraries(bench_dialog PRIVATE dialog_qt loadcal_test_support benchmark::benchmark
                                             loadcal_warnings)
endif()
