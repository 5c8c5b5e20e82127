# The app's importer and compiler, so that fonts are made and compared in one process.
target_sources(font_test PRIVATE
  ${PROJECT_SOURCE_DIR}/apps/common/errors.cpp
  ${PROJECT_SOURCE_DIR}/apps/kr/font/font_file.cpp
  ${PROJECT_SOURCE_DIR}/apps/kr/font/hershey.cpp
  ${PROJECT_SOURCE_DIR}/apps/kr/font/listing.cpp
  ${PROJECT_SOURCE_DIR}/apps/kr/font/shp_compiler.cpp
  ${PROJECT_SOURCE_DIR}/apps/kr/font/shp_scanner.cpp)
krd_add_resources(font_test RESOURCE SHP 7 ${PROJECT_SOURCE_DIR}/tests/data/strokes.shp)
