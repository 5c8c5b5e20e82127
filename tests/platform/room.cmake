# Resources of the test program itself, and a module of its own that the test loads and unloads. The
# module finds the layer in the program.
set(resources ${PROJECT_SOURCE_DIR}/tests/data/resources)
krd_add_resources(platform_test
  RESOURCE KR_MSG 7 ${resources}/lines.xml
  STRINGS ${resources}/more_strings.txt)
set_target_properties(platform_test PROPERTIES ENABLE_EXPORTS ON)

add_library(platform_module MODULE platform/module/module.cpp)
target_link_libraries(platform_module PRIVATE krd_options)
target_include_directories(platform_module PRIVATE ${PROJECT_SOURCE_DIR})
set_target_properties(platform_module PROPERTIES
  PREFIX "" OUTPUT_NAME test_module LIBRARY_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/modules)
krd_add_resources(platform_module
  RESOURCE KR_MSG 7 ${resources}/lines.xml CRLF
  RESOURCE SHP 7 ${resources}/bytes.bin
  RESOURCE SHP 65535 ${resources}/empty.bin
  STRINGS ${resources}/strings.txt
  STRINGS ${resources}/more_strings.txt)
add_dependencies(platform_test platform_module)
target_compile_definitions(platform_test PRIVATE
  KRD_TEST_MODULES="${CMAKE_CURRENT_BINARY_DIR}/modules")
