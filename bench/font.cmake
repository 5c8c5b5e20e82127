krd_add_bench(font)
# The app's importer and compiler make the fonts.
target_sources(font_bench PRIVATE
  ${PROJECT_SOURCE_DIR}/apps/common/errors.cpp
  ${PROJECT_SOURCE_DIR}/apps/kr/font/hershey.cpp
  ${PROJECT_SOURCE_DIR}/apps/kr/font/shp_compiler.cpp
  ${PROJECT_SOURCE_DIR}/apps/kr/font/shp_scanner.cpp)
