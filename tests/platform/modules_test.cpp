#include "krdcmmn/platform/modules.h"

#include <cstring>
#include <filesystem>
#include <string>

#include "krdcmmn/platform/errors.h"

#include "gtest/gtest.h"
#include "tests/support/temp_dir.h"

namespace {

const char kModules[] = KRD_TEST_MODULES;

std::string Bytes(HMODULE module, std::uint32_t number, const char* type) {
  HRSRC found = FindResourceA(module, number, type);
  if (found == nullptr) {
    return "missing";
  }
  const auto* data = static_cast<const char*>(LockResource(LoadResource(module, found)));
  return {data, SizeofResource(module, found)};
}

std::string String(HMODULE module, UINT id, int size = 256) {
  std::string buffer(static_cast<std::size_t>(size) + 1, '#');
  const int length = LoadStringA(module, id, buffer.data(), size);
  EXPECT_EQ(buffer[static_cast<std::size_t>(size)], '#');
  EXPECT_EQ(std::strlen(buffer.c_str()), static_cast<std::size_t>(length));
  return buffer.c_str();
}

// The test module, loaded for the length of a scope under the name that code asks for.
class LoadedModule {
 public:
  explicit LoadedModule(const std::string& path = std::string(kModules) + "/test_module.dll")
      : handle_(LoadLibraryA(path.c_str())) {}
  ~LoadedModule() {
    if (handle_ != nullptr) {
      EXPECT_TRUE(FreeLibrary(handle_));
    }
  }
  operator HMODULE() const { return handle_; }

 private:
  HMODULE handle_;
};

// Puts a hook in place for one test.
class HookGuard {
 public:
  explicit HookGuard(LibraryHook hook) { SetLibraryHook(std::move(hook)); }
  ~HookGuard() { SetLibraryHook({}); }
};

TEST(Modules, ProgramIsTheModuleOfItsOwnCodeAndData) {
  static int variable;
  const HMODULE program = GetModuleHandleA(nullptr);
  ASSERT_NE(program, nullptr);
  EXPECT_EQ(ModuleOfAddress(&variable), program);
  EXPECT_EQ(ModuleOfAddress(kModules), program);
  EXPECT_EQ(ModuleOfAddress(reinterpret_cast<const void*>(&Bytes)), program);
  EXPECT_EQ(ModuleOfAddress(reinterpret_cast<const void*>(8)), nullptr);
}

TEST(Modules, FileNamesAreCutToTheBuffer) {
  const std::string own = std::filesystem::read_symlink("/proc/self/exe");
  char path[1024];
  EXPECT_EQ(GetModuleFileNameA(nullptr, path, sizeof path), own.size());
  EXPECT_EQ(path, own);
  EXPECT_EQ(GetModuleFileNameA(GetModuleHandleA(nullptr), path, 5), 4u);
  EXPECT_EQ(path, own.substr(0, 4));

  const LoadedModule module;
  GetModuleFileNameA(module, path, sizeof path);
  EXPECT_EQ(std::filesystem::path(path).filename(), "test_module.so");
  EXPECT_EQ(GetModuleFileNameA(nullptr, path, 0), 0u);
}

TEST(Modules, NameOfAnotherHostFindsTheFileInItsDirectory) {
  const std::string directory = kModules;
  for (const char* name : {"/test_module.dll", "/test_module.DLL", "/test_module.so"}) {
    SCOPED_TRACE(name);
    const LoadedModule module(directory + name);
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(GetModuleHandleA((directory + name).c_str()), module);
  }
  EXPECT_EQ(GetModuleHandleA((directory + "/test_module.dll").c_str()), nullptr);

  const krtest::TempDir temp;
  std::filesystem::copy_file(directory + "/test_module.so", temp.file("other.so.3"));
  const LoadedModule versioned(temp.file("other.dll"));
  EXPECT_NE(versioned, nullptr);
}

TEST(Modules, LibraryOfTheHostIsFoundWhenTheDirectoryHasNone) {
  const krtest::TempDir temp;
  for (const std::string& path : {std::string("libexpat.dll"), temp.file("libexpat.dll")}) {
    SCOPED_TRACE(path);
    const LoadedModule module(path);
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(ModuleOfAddress(GetProcAddress(module, "XML_ParserCreate")), module);
    EXPECT_EQ(GetProcAddress(module, "XML_NoSuchFunction"), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_PROC_NOT_FOUND);
  }
}

TEST(Modules, MissingAndBrokenLibrariesAreToldApart) {
  const krtest::TempDir temp;
  EXPECT_EQ(LoadLibraryA(temp.file("libnothing.dll").c_str()), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND);
  EXPECT_EQ(LoadLibraryA(nullptr), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND);

  // A broken file in the directory is not passed over for the host's library.
  krtest::WriteBytes(temp.file("libexpat.so.1"), "not a library");
  EXPECT_EQ(LoadLibraryA(temp.file("libexpat.dll").c_str()), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_BAD_MODULE);

  EXPECT_FALSE(FreeLibrary(nullptr));
  EXPECT_EQ(GetProcAddress(nullptr, "XML_Parse"), nullptr);
}

TEST(Modules, HookRefusesAndRenames) {
  {
    const HookGuard refuse(
        [](LibraryStep step, std::string&) { return step != LibraryStep::kLoad; });
    EXPECT_EQ(LoadedModule(), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND);
  }
  const HookGuard rename([](LibraryStep step, std::string& name) {
    if (step == LibraryStep::kFunction) {
      name += "AtStart";
    }
    return true;
  });
  const LoadedModule module;
  EXPECT_NE(GetProcAddress(module, "SawResources"), nullptr);
  EXPECT_EQ(GetProcAddress(module, "TellAtEnd"), nullptr);
}

TEST(Resources, EachModuleHasItsOwn) {
  const std::string lines = krtest::ReadBytes(KRD_TEST_DATA "/resources/lines.xml");
  EXPECT_EQ(Bytes(nullptr, 7, "KR_MSG"), lines);
  EXPECT_EQ(Bytes(GetModuleHandleA(nullptr), 7, "kr_msg"), lines);
  EXPECT_EQ(Bytes(nullptr, 0x10007, "KR_MSG"), lines);  // numbers have 16 bits
  EXPECT_EQ(FindResourceA(nullptr, 7, "SHP"), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_RESOURCE_NOT_FOUND);
  EXPECT_EQ(FindResourceA(nullptr, 8, "KR_MSG"), nullptr);
  EXPECT_EQ(LockResource(LoadResource(nullptr, nullptr)), nullptr);

  // In the other module the lines end in CR LF.
  std::string crlf = lines;
  for (std::size_t at = 0; (at = crlf.find('\n', at)) != std::string::npos; at += 2) {
    crlf.replace(at, 1, "\r\n");
  }
  const LoadedModule module;
  EXPECT_EQ(Bytes(module, 7, "KR_MSG"), crlf);
  EXPECT_EQ(Bytes(module, 7, "SHP"), krtest::ReadBytes(KRD_TEST_DATA "/resources/bytes.bin"));
  HRSRC empty = FindResourceA(module, 65535, "SHP");
  EXPECT_EQ(SizeofResource(module, empty), 0u);
  EXPECT_NE(LockResource(LoadResource(module, empty)), nullptr);
}

TEST(Resources, ComeBeforeStaticObjectsAndLeaveWithTheModule) {
  int at_end = -1;
  HMODULE gone = nullptr;
  for (int round = 0; round < 2; ++round) {
    const LoadedModule module;
    gone = module;
    EXPECT_TRUE(reinterpret_cast<bool (*)()>(GetProcAddress(module, "SawResourcesAtStart"))());
    reinterpret_cast<void (*)(int*)>(GetProcAddress(module, "TellAtEnd"))(&at_end);
  }
  EXPECT_EQ(at_end, 1);
  EXPECT_EQ(FindResourceA(gone, 7, "SHP"), nullptr);
  EXPECT_NE(FindResourceA(nullptr, 7, "KR_MSG"), nullptr);
}

TEST(Resources, StringsKeepEscapesAndAreCutToTheBuffer) {
  const LoadedModule module;
  EXPECT_EQ(String(module, 1), "One");
  EXPECT_EQ(String(module, 2), "two lines\nand a tab\t, a backslash \\, an odd q and the end\r");
  EXPECT_EQ(String(module, 17), "behind a tab; [with] \"marks\"");
  EXPECT_EQ(String(module, 18), "");
  EXPECT_EQ(String(module, 19), "nineteen");
  EXPECT_EQ(String(module, 4294967295), "the greatest number");
  for (const UINT absent : {0u, 3u, 170u, 20u}) {
    EXPECT_EQ(String(module, absent), "") << absent;
  }
  EXPECT_EQ(String(nullptr, 1), "hidden by the first table");
  EXPECT_EQ(String(nullptr, 17), "");

  EXPECT_EQ(String(module, 2, 11), "two lines\n");  // an escape is one byte
  EXPECT_EQ(String(module, 1, 3), "On");
  EXPECT_EQ(String(module, 1, 1), "");
}

}  // namespace
