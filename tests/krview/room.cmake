# The viewer without its screen; and the program on a display of its own.
target_link_libraries(krview_test PRIVATE krd_view krd_sheet krd_app_common)
target_compile_definitions(krview_test PRIVATE KRVIEW_PROGRAM="$<TARGET_FILE:krview>")
add_dependencies(krview_test krview)

find_package(PNG REQUIRED)
find_package(X11 REQUIRED)
add_executable(window_shows krview/window_shows.cpp)
target_link_libraries(window_shows PRIVATE krd_options PNG::PNG X11::X11)
add_test(NAME krview.end_to_end
         COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/krview/end_to_end.sh $<TARGET_FILE:krview>
                 $<TARGET_FILE:window_shows>)
set_tests_properties(krview.end_to_end PROPERTIES TIMEOUT 120)
