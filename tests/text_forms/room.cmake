# The app's forms and font, with the compiler that the font is held against.
find_package(PNG REQUIRED)
file(GLOB text_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/apps/kr/text/*.cpp)
list(FILTER text_sources EXCLUDE REGEX "/text/text\\.cpp$")  # the command line itself
target_sources(text_forms_test PRIVATE
  ${text_sources}
  ${PROJECT_SOURCE_DIR}/apps/common/default_font.cpp
  ${PROJECT_SOURCE_DIR}/apps/common/errors.cpp
  ${PROJECT_SOURCE_DIR}/apps/common/png_file.cpp
  ${PROJECT_SOURCE_DIR}/apps/common/slots.cpp
  ${PROJECT_SOURCE_DIR}/apps/common/text_place.cpp
  ${PROJECT_SOURCE_DIR}/apps/common/whole_file.cpp
  ${PROJECT_SOURCE_DIR}/apps/kr/font/font_file.cpp
  ${PROJECT_SOURCE_DIR}/apps/kr/font/listing.cpp
  ${PROJECT_SOURCE_DIR}/apps/kr/font/sheet.cpp
  ${PROJECT_SOURCE_DIR}/apps/kr/font/shp_compiler.cpp
  ${PROJECT_SOURCE_DIR}/apps/kr/font/shp_scanner.cpp)
target_link_libraries(text_forms_test PRIVATE PNG::PNG)
krd_add_resources(text_forms_test
                  RESOURCE SHP 1 ${PROJECT_SOURCE_DIR}/apps/common/default_font.shp CRLF)
