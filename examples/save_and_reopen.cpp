// Saves a whole array in a storage, opens the storage again and reads the array back.
#include <cstdio>
#include <exception>

#include "krdcmmn/krdcmmn.h"

// A storage without a header of its own.
class DRAWINGS final : public KRD::VFSTORAGE {
  bool ReadHeader(std::int32_t) override { return true; }
  bool WriteHeader() override { return true; }
  std::int32_t GetHeaderSize() override { return 0; }
};

static void Save(const char* path) {
  KRD::TARRAY<KRD::DOT> points;
  for (int i = 0; i < 1000; ++i) {
    points.add({i * 10, i * i});
  }
  DRAWINGS store;
  store.Start(path, true, true, true);
  {
    KRD::auto_vfile outline(store, "outline", 'w');
    outline.file << "a parabola" << points;  // the file takes the array's memory over
  }
  store.Commit();
}

static void Reopen(const char* path) {
  DRAWINGS store;
  store.Start(path, false, false, false);
  KRD::auto_vfile outline(store, "outline", 'r');
  char title[16];
  KRD::TARRAY<KRD::DOT> points;
  outline.file >> title >> points;
  std::printf("%s: %u points, the last (%d, %d)\n", title, points.count(), points[999].x,
              points[999].y);
}

int main(int argc, char** argv) {
  const char* path = argc > 1 ? argv[1] : "drawings.store";
  try {
    Save(path);
    Reopen(path);
    return 0;
  } catch (KRD::EXCEPTION* e) {
    std::fprintf(stderr, "%s: error %d\n", path, e->code);
    e->Delete();
  } catch (const std::exception& e) {
    std::fprintf(stderr, "%s: %s\n", path, e.what());
  }
  return 1;
}
