add_executable(bench_balancing
  ${CMAKE_CURRENT_SOURCE_DIR}/bench_balancing.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/bench_balancing_baselines.cpp)
target_include_directories(bench_balancing PRIVATE ${PROJECT_SOURCE_DIR})
target_link_libraries(bench_balancing PRIVATE balancing model benchmark::benchmark
  loadcal_warnings)
