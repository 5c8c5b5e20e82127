# Memory that fails on demand (memory.h), and string resources of the test program itself.
target_link_options(text_test PRIVATE -Wl,--wrap=malloc -Wl,--wrap=realloc)
krd_add_resources(text_test STRINGS ${PROJECT_SOURCE_DIR}/tests/data/resources/text_strings.txt)
