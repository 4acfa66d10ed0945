// Loading a driver library and resolving its entry table: order, partial
// results, failures, and nothing kept after a failure.
#include "fakedriver.h"
#include "sane_driver.h"
#include "test_support.h"

#include <dlfcn.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace {

void sentinel_entry() {}

// Every position holds a recognisable value, so that untouched ones show.
_sane_api sentinel_api()
{
    _sane_api api;
    void** slots = reinterpret_cast<void**>(&api);
    for (std::size_t i = 0; i < sizeof(api) / sizeof(void*); ++i)
        slots[i] = reinterpret_cast<void*>(&sentinel_entry);
    return api;
}

void* slot(const _sane_api& api, std::size_t position)
{
    return reinterpret_cast<void* const*>(&api)[position];
}

// The positions that do not hold the sentinel.
std::string touched(const _sane_api& api)
{
    std::string positions;
    for (std::size_t i = 0; i < sizeof(api) / sizeof(void*); ++i) {
        if (slot(api, i) != reinterpret_cast<void*>(&sentinel_entry))
            positions += std::to_string(i) + " ";
    }
    return positions;
}

// Zero-based positions in the table.
enum : std::size_t {
    GET_DEVICES, OPEN, CLOSE, GET_OPTION_DESCRIPTOR, CONTROL_OPTION, GET_PARAMETERS, START,
    READ, CANCEL, SET_IO_MODE, GET_SELECT_FD, STRSTATUS, RESERVED, INIT, EXIT
};

class loaded_library
{
public:
    explicit loaded_library(const char* path) { EXPECT_EQ(ZyBase_CreateDll(path, &m_dll), 0) << path; }
    ~loaded_library() { ZyBase_DestroyDll(m_dll); }
    ZyDll* get() const { return m_dll; }

    void* symbol(const char* name) const
    {
        void* address = nullptr;
        ZyBase_GetDllProcAddress(m_dll, name, &address);
        return address;
    }

private:
    ZyDll* m_dll = nullptr;
};

bool still_loaded(const char* path)
{
    void* handle = dlopen(path, RTLD_NOW | RTLD_NOLOAD);
    if (handle)
        dlclose(handle);
    return handle != nullptr;
}

} // namespace

TEST(FindFunctions, FillsEveryPositionButTheTwoUnused)
{
    loaded_library fake(FAKE_DRIVER_PATH);
    _sane_api api = sentinel_api();
    ASSERT_EQ(FindFunctions(fake.get(), "fake", &api), 0);
    // The library loaded by path is the copy this program links: same addresses.
    const std::pair<std::size_t, void*> rows[] = {
        {INIT, (void*)&sane_fake_init},
        {EXIT, (void*)&sane_fake_exit},
        {GET_DEVICES, (void*)&sane_fake_get_devices},
        {OPEN, (void*)&sane_fake_open},
        {CLOSE, (void*)&sane_fake_close},
        {START, (void*)&sane_fake_start},
        {READ, (void*)&sane_fake_read},
        {CANCEL, (void*)&sane_fake_cancel},
        {SET_IO_MODE, (void*)&sane_fake_set_io_mode},
        {STRSTATUS, (void*)&sane_fake_strstatus},
        {GET_PARAMETERS, (void*)&sane_fake_get_parameters},
        {GET_OPTION_DESCRIPTOR, (void*)&sane_fake_get_option_descriptor},
        {CONTROL_OPTION, (void*)&sane_fake_control_option},
    };
    for (const auto& [position, address] : rows)
        EXPECT_EQ(slot(api, position), address) << position;
    EXPECT_EQ(slot(api, GET_SELECT_FD), (void*)&sentinel_entry);
    EXPECT_EQ(slot(api, RESERVED), (void*)&sentinel_entry);
}

TEST(FindFunctions, AMissingEntryPointStopsTheLookupThere)
{
    loaded_library partial(PARTIAL_DRIVER_PATH);
    ASSERT_NE(partial.symbol("sane_noinit_exit"), nullptr);
    _sane_api api = sentinel_api();
    EXPECT_EQ(FindFunctions(partial.get(), "noinit", &api), ENOENT);
    EXPECT_EQ(api.sane_init, nullptr);
    EXPECT_EQ(touched(api), "13 ");

    // sane_partial_start is the first one missing; nothing after it is looked up.
    api = sentinel_api();
    EXPECT_EQ(FindFunctions(partial.get(), "partial", &api), ENOENT);
    EXPECT_EQ(slot(api, INIT), partial.symbol("sane_partial_init"));
    EXPECT_EQ(slot(api, EXIT), partial.symbol("sane_partial_exit"));
    EXPECT_EQ(slot(api, GET_DEVICES), partial.symbol("sane_partial_get_devices"));
    EXPECT_EQ(slot(api, OPEN), partial.symbol("sane_partial_open"));
    EXPECT_EQ(slot(api, CLOSE), partial.symbol("sane_partial_close"));
    EXPECT_EQ(slot(api, START), nullptr);
    EXPECT_EQ(touched(api), "0 1 2 6 13 14 ");
}

TEST(FindFunctions, BadArgumentsAndOversizedNamesFailBeforeAnyLookup)
{
    loaded_library fake(FAKE_DRIVER_PATH);
    _sane_api api = sentinel_api();
    EXPECT_EQ(FindFunctions(nullptr, "fake", &api), EINVAL);
    EXPECT_EQ(FindFunctions(fake.get(), nullptr, &api), EINVAL);
    EXPECT_EQ(FindFunctions(fake.get(), "fake", nullptr), EINVAL);
    EXPECT_EQ(FindFunctions(fake.get(), std::string(1000, 'x').c_str(), &api), ENAMETOOLONG);
    EXPECT_EQ(touched(api), "");
    // "sane_" + name + "_get_option_descriptor" + terminator fills 256 bytes at 228.
    EXPECT_EQ(FindFunctions(fake.get(), std::string(228, 'x').c_str(), &api), ENOENT);
    EXPECT_EQ(FindFunctions(fake.get(), std::string(229, 'x').c_str(), &api), ENAMETOOLONG);
}

TEST(LoadSaneDriver, SuccessKeepsLibraryAndTableTryingTheBareNameFirst)
{
    // The folder of the second path does not exist, but the file name matches
    // the copy this program already has loaded, so the bare name succeeds.
    for (const char* path : {FAKE_DRIVER_PATH, "/nonexistent/drivers/libsane-fake.so"}) {
        _sane_api api = sentinel_api();
        ZyDll* dll = nullptr;
        ASSERT_EQ(LoadSaneDriver("fake", path, &dll, &api), SANE_LOAD_OK) << path;
        ASSERT_NE(dll, nullptr);
        unique_zy_dll owner(dll);
        EXPECT_EQ(api.sane_control_option, &sane_fake_control_option);
        EXPECT_EQ(api.sane_init, &sane_fake_init);
        // Positions the loader never fills keep what the record had.
        EXPECT_EQ(touched(api), "0 1 2 3 4 5 6 7 8 9 11 13 14 ");
    }
}

TEST(LoadSaneDriver, FailuresUnloadAndKeepNothing)
{
    temp_dir folder;
    const std::string missing = folder.file("libsane-missing.so");
    const std::string text = folder.file("libsane-junk.so");
    veltest::writeFile(text, "this is not a shared library\n");
    const struct {
        const char* manufacturer;
        std::string path;
        sane_load_result result;
    } rows[] = {
        {"junk", missing, SANE_LOAD_LIBRARY_FAILED},
        {"junk", text, SANE_LOAD_LIBRARY_FAILED},
        {"partial", PARTIAL_DRIVER_PATH, SANE_LOAD_FUNCTION_FAILED},
    };
    for (const auto& row : rows) {
        _sane_api api = sentinel_api();
        ZyDll* dll = reinterpret_cast<ZyDll*>(&api); // must be cleared
        int error = 0;
        EXPECT_EQ(LoadSaneDriver(row.manufacturer, row.path.c_str(), &dll, &api, &error), row.result) << row.path;
        EXPECT_NE(error, 0);
        EXPECT_EQ(dll, nullptr);
        EXPECT_EQ(touched(api), "");
    }
    EXPECT_FALSE(still_loaded(PARTIAL_DRIVER_PATH));

    _sane_api api = sentinel_api();
    ZyDll* dll = nullptr;
    int error = 0;
    EXPECT_EQ(LoadSaneDriver(nullptr, FAKE_DRIVER_PATH, &dll, &api, &error), SANE_LOAD_BAD_ARGUMENT);
    EXPECT_EQ(error, EINVAL);
    EXPECT_EQ(LoadSaneDriver("fake", nullptr, &dll, &api), SANE_LOAD_BAD_ARGUMENT);
    EXPECT_EQ(LoadSaneDriver("fake", FAKE_DRIVER_PATH, nullptr, &api), SANE_LOAD_BAD_ARGUMENT);
    EXPECT_EQ(LoadSaneDriver("fake", FAKE_DRIVER_PATH, &dll, nullptr), SANE_LOAD_BAD_ARGUMENT);
    EXPECT_EQ(touched(api), "");
}
