# The programs are run as they were built.
target_compile_definitions(app_test PRIVATE KR_PROGRAM="$<TARGET_FILE:kr>")
add_dependencies(app_test kr)
