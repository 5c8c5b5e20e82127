# The parser's own positions and trees are what ours are held against.
find_package(EXPAT REQUIRED)
target_link_libraries(xml_test PRIVATE EXPAT::EXPAT)
