# The apps' parts that read drawings, without the apps.
foreach(part common sheet)
  if(NOT TARGET krd_sheet)
    add_subdirectory(${PROJECT_SOURCE_DIR}/apps/${part} ${PROJECT_BINARY_DIR}/apps/${part})
  endif()
endforeach()
target_link_libraries(dxf_fuzz PRIVATE krd_sheet krd_app_common)
