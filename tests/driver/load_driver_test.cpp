// Loading a driver library for the source dialog: bare name first, then the
// path; distinct answers for a library that does not load and one that lacks
// entry points; nothing kept after a failure.
#include "fakedriver.h"
#include "sane_driver.h"
#include "test_support.h"

#include <dlfcn.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace {

void marker_entry() {}

_sane_api marked_api()
{
    _sane_api api{};
    api.sane_get_select_fd = reinterpret_cast<decltype(api.sane_get_select_fd)>(&marker_entry);
    api.sane_reserved = &marker_entry;
    return api;
}

bool same_table(const _sane_api& a, const _sane_api& b)
{
    return std::memcmp(&a, &b, sizeof(a)) == 0;
}

bool still_loaded(const char* path)
{
    void* handle = dlopen(path, RTLD_NOW | RTLD_NOLOAD);
    if (handle)
        dlclose(handle);
    return handle != nullptr;
}

} // namespace

TEST(LoadSaneDriver, RefusesNullArguments)
{
    _sane_api api = marked_api();
    ZyDll* dll = nullptr;
    int error = 0;
    EXPECT_EQ(LoadSaneDriver(nullptr, FAKE_DRIVER_PATH, &dll, &api, &error), SANE_LOAD_BAD_ARGUMENT);
    EXPECT_EQ(error, EINVAL);
    EXPECT_EQ(LoadSaneDriver("fake", nullptr, &dll, &api), SANE_LOAD_BAD_ARGUMENT);
    EXPECT_EQ(LoadSaneDriver("fake", FAKE_DRIVER_PATH, nullptr, &api), SANE_LOAD_BAD_ARGUMENT);
    EXPECT_EQ(LoadSaneDriver("fake", FAKE_DRIVER_PATH, &dll, nullptr), SANE_LOAD_BAD_ARGUMENT);
    EXPECT_TRUE(same_table(api, marked_api()));
}

TEST(LoadSaneDriver, MissingOrInvalidLibraryIsALoadFailure)
{
    temp_dir folder;
    const std::string missing = folder.file("libsane-missing.so");
    const std::string text = folder.file("libsane-junk.so");
    veltest::writeFile(text, "this is not a shared library\n");

    for (const std::string& path : {missing, text}) {
        _sane_api api = marked_api();
        ZyDll* dll = reinterpret_cast<ZyDll*>(&api); // must be cleared
        int error = 0;
        EXPECT_EQ(LoadSaneDriver("junk", path.c_str(), &dll, &api, &error), SANE_LOAD_LIBRARY_FAILED)
            << path;
        EXPECT_NE(error, 0);
        EXPECT_EQ(dll, nullptr);
        EXPECT_TRUE(same_table(api, marked_api()));
    }
}

TEST(LoadSaneDriver, MissingEntryPointUnloadsAndKeepsNothing)
{
    _sane_api api = marked_api();
    ZyDll* dll = nullptr;
    int error = 0;
    EXPECT_EQ(LoadSaneDriver("partial", PARTIAL_DRIVER_PATH, &dll, &api, &error),
              SANE_LOAD_FUNCTION_FAILED);
    EXPECT_EQ(error, ENOENT);
    EXPECT_EQ(dll, nullptr);
    EXPECT_TRUE(same_table(api, marked_api()));
    EXPECT_FALSE(still_loaded(PARTIAL_DRIVER_PATH));
}

TEST(LoadSaneDriver, SuccessKeepsLibraryAndTable)
{
    _sane_api api = marked_api();
    ZyDll* dll = nullptr;
    ASSERT_EQ(LoadSaneDriver("fake", FAKE_DRIVER_PATH, &dll, &api), SANE_LOAD_OK);
    ASSERT_NE(dll, nullptr);
    unique_zy_dll owner(dll);
    EXPECT_EQ(api.sane_control_option, &sane_fake_control_option);
    EXPECT_EQ(api.sane_init, &sane_fake_init);
    // Positions the loader never fills keep what the record had.
    EXPECT_EQ(reinterpret_cast<void*>(api.sane_get_select_fd), reinterpret_cast<void*>(&marker_entry));
    EXPECT_EQ(api.sane_reserved, &marker_entry);
}

TEST(LoadSaneDriver, BareFileNameIsTriedBeforeThePath)
{
    // The folder does not exist, but the file name matches the copy this
    // program already has loaded, so the bare name succeeds.
    _sane_api api{};
    ZyDll* dll = nullptr;
    ASSERT_EQ(LoadSaneDriver("fake", "/nonexistent/drivers/libsane-fake.so", &dll, &api), SANE_LOAD_OK);
    unique_zy_dll owner(dll);
    EXPECT_EQ(api.sane_open, &sane_fake_open);
}

TEST(LoadSaneDriver, RealBackendLoadsByPathWhenTheBareNameFails)
{
    if (std::string(SANE_TEST_BACKEND).empty())
        GTEST_SKIP() << "libsane1's test backend is not installed";
    ZyDll* probe = nullptr;
    ASSERT_NE(ZyBase_CreateDll("libsane-test.so.1", &probe), 0)
        << "the backend folder is expected outside the library search path";

    _sane_api api{};
    ZyDll* dll = nullptr;
    int error = 0;
    ASSERT_EQ(LoadSaneDriver("test", SANE_TEST_BACKEND, &dll, &api, &error), SANE_LOAD_OK);
    EXPECT_EQ(error, 0);
    ASSERT_NE(dll, nullptr);
    EXPECT_NE(api.sane_control_option, nullptr);
    EXPECT_NE(api.sane_strstatus, nullptr);
    EXPECT_EQ(ZyBase_DestroyDll(dll), 0);
}
