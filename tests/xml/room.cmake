# The parser's own positions and trees are what ours are held against.
find_package(EXPAT REQUIRED)
target_link_libraries(xml_test PRIVATE EXPAT::EXPAT)

# Message resources of the test program, and a library that holds one of the parser's functions only.
set(messages ${PROJECT_SOURCE_DIR}/tests/data/xml)
krd_add_resources(xml_test
  RESOURCE KR_MSG 1 ${messages}/messages.xml
  RESOURCE KR_MSG 2 ${messages}/replaced.xml
  RESOURCE KR_MSG 3 ${messages}/nested.xml
  RESOURCE KR_MSG 4 ${messages}/broken.xml)
add_library(xml_part_of_parser MODULE xml/part_of_parser/part_of_parser.c)
target_compile_definitions(xml_test PRIVATE
  KR_PROGRAM="$<TARGET_FILE:kr>" PART_OF_PARSER="$<TARGET_FILE:xml_part_of_parser>")
add_dependencies(xml_test kr xml_part_of_parser)
