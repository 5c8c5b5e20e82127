krd_add_bench(marray)
