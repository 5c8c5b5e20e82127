find_package(absl REQUIRED)
krd_add_bench(hash_text LIBS absl::flat_hash_map)
