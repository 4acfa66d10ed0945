// Resolving a driver's entry table: order, partial results and failures.
#include "fakedriver.h"
#include "sane_driver.h"
#include "test_support.h"

#include <cerrno>
#include <cstring>
#include <string>

namespace {

void sentinel_entry() {}

// Every position holds a recognisable value, so that untouched ones show.
_sane_api sentinel_api()
{
    _sane_api api;
    void* const sentinel = reinterpret_cast<void*>(&sentinel_entry);
    void** slots = reinterpret_cast<void**>(&api);
    for (std::size_t i = 0; i < sizeof(api) / sizeof(void*); ++i)
        slots[i] = sentinel;
    return api;
}

void* slot(const _sane_api& api, std::size_t position)
{
    return reinterpret_cast<void* const*>(&api)[position];
}

bool untouched(const _sane_api& api, std::size_t position)
{
    return slot(api, position) == reinterpret_cast<void*>(&sentinel_entry);
}

// Zero-based positions in the table.
enum : std::size_t {
    GET_DEVICES, OPEN, CLOSE, GET_OPTION_DESCRIPTOR, CONTROL_OPTION, GET_PARAMETERS, START,
    READ, CANCEL, SET_IO_MODE, GET_SELECT_FD, STRSTATUS, RESERVED, INIT, EXIT
};

class loaded_library
{
public:
    explicit loaded_library(const char* path) { m_error = ZyBase_CreateDll(path, &m_dll); }
    ~loaded_library()
    {
        if (m_dll)
            ZyBase_DestroyDll(m_dll);
    }
    ZyDll* get() const { return m_dll; }
    int error() const { return m_error; }

    void* symbol(const char* name) const
    {
        void* address = nullptr;
        ZyBase_GetDllProcAddress(m_dll, name, &address);
        return address;
    }

private:
    ZyDll* m_dll = nullptr;
    int m_error = 0;
};

} // namespace

TEST(FindFunctions, RefusesNullArguments)
{
    loaded_library fake(FAKE_DRIVER_PATH);
    ASSERT_EQ(fake.error(), 0);
    _sane_api api = sentinel_api();
    EXPECT_EQ(FindFunctions(nullptr, "fake", &api), EINVAL);
    EXPECT_EQ(FindFunctions(fake.get(), nullptr, &api), EINVAL);
    EXPECT_EQ(FindFunctions(fake.get(), "fake", nullptr), EINVAL);
    for (std::size_t position = 0; position < 15; ++position)
        EXPECT_TRUE(untouched(api, position)) << position;
}

TEST(FindFunctions, FillsEveryResolvedPositionOfTheFakeDriver)
{
    loaded_library fake(FAKE_DRIVER_PATH);
    ASSERT_EQ(fake.error(), 0);
    _sane_api api = sentinel_api();
    ASSERT_EQ(FindFunctions(fake.get(), "fake", &api), 0);

    // The library loaded by path is the copy this program links: same addresses.
    EXPECT_EQ(api.sane_init, &sane_fake_init);
    EXPECT_EQ(api.sane_exit, &sane_fake_exit);
    EXPECT_EQ(api.sane_get_devices, &sane_fake_get_devices);
    EXPECT_EQ(api.sane_open, &sane_fake_open);
    EXPECT_EQ(api.sane_close, &sane_fake_close);
    EXPECT_EQ(api.sane_start, &sane_fake_start);
    EXPECT_EQ(api.sane_read, &sane_fake_read);
    EXPECT_EQ(api.sane_cancel, &sane_fake_cancel);
    EXPECT_EQ(api.sane_set_io_mode, &sane_fake_set_io_mode);
    EXPECT_EQ(api.sane_strstatus, &sane_fake_strstatus);
    EXPECT_EQ(api.sane_get_parameters, &sane_fake_get_parameters);
    EXPECT_EQ(api.sane_get_option_descriptor, &sane_fake_get_option_descriptor);
    EXPECT_EQ(api.sane_control_option, &sane_fake_control_option);
    EXPECT_TRUE(untouched(api, GET_SELECT_FD));
    EXPECT_TRUE(untouched(api, RESERVED));
}

TEST(FindFunctions, ResolvedTableDrivesTheInstanceTheTestScripts)
{
    loaded_library fake(FAKE_DRIVER_PATH);
    ASSERT_EQ(fake.error(), 0);
    _sane_api api{};
    ASSERT_EQ(FindFunctions(fake.get(), "fake", &api), 0);

    fakedriver_load_default_script();
    SANE_Handle handle = nullptr;
    ASSERT_EQ(api.sane_open("", &handle), SANE_STATUS_GOOD);
    const int mode = fakedriver_find("mode");
    char grey[32] = "灰度";
    EXPECT_EQ(api.sane_control_option(handle, mode, SANE_ACTION_SET_VALUE, grey, nullptr),
              SANE_STATUS_GOOD);
    EXPECT_STREQ(fakedriver_get_string(mode), "灰度");
    api.sane_close(handle);
    EXPECT_FALSE(fakedriver_is_open());
    fakedriver_reset();
}

TEST(FindFunctions, MissingInitFillsNothingElse)
{
    loaded_library partial(PARTIAL_DRIVER_PATH);
    ASSERT_EQ(partial.error(), 0);
    ASSERT_NE(partial.symbol("sane_noinit_exit"), nullptr);
    _sane_api api = sentinel_api();

    EXPECT_EQ(FindFunctions(partial.get(), "noinit", &api), ENOENT);
    EXPECT_EQ(api.sane_init, nullptr);
    for (std::size_t position = 0; position < 15; ++position) {
        if (position != INIT) {
            EXPECT_TRUE(untouched(api, position)) << position;
        }
    }
}

TEST(FindFunctions, MissingLaterSymbolKeepsTheEarlierPositions)
{
    loaded_library partial(PARTIAL_DRIVER_PATH);
    ASSERT_EQ(partial.error(), 0);
    _sane_api api = sentinel_api();

    EXPECT_EQ(FindFunctions(partial.get(), "partial", &api), ENOENT);
    EXPECT_EQ(slot(api, INIT), partial.symbol("sane_partial_init"));
    EXPECT_EQ(slot(api, EXIT), partial.symbol("sane_partial_exit"));
    EXPECT_EQ(slot(api, GET_DEVICES), partial.symbol("sane_partial_get_devices"));
    EXPECT_EQ(slot(api, OPEN), partial.symbol("sane_partial_open"));
    EXPECT_EQ(slot(api, CLOSE), partial.symbol("sane_partial_close"));
    EXPECT_NE(slot(api, INIT), nullptr);
    // sane_partial_start is the first one missing; nothing after it is looked up.
    EXPECT_EQ(slot(api, START), nullptr);
    for (std::size_t position : {READ, CANCEL, SET_IO_MODE, STRSTATUS, GET_PARAMETERS,
                                 GET_OPTION_DESCRIPTOR, CONTROL_OPTION, GET_SELECT_FD, RESERVED})
        EXPECT_TRUE(untouched(api, position)) << position;
}

TEST(FindFunctions, OversizedManufacturerFailsBeforeAnyLookup)
{
    loaded_library fake(FAKE_DRIVER_PATH);
    ASSERT_EQ(fake.error(), 0);
    _sane_api api = sentinel_api();

    const std::string huge(1000, 'x');
    EXPECT_EQ(FindFunctions(fake.get(), huge.c_str(), &api), ENAMETOOLONG);
    for (std::size_t position = 0; position < 15; ++position)
        EXPECT_TRUE(untouched(api, position)) << position;

    // "sane_" + name + "_get_option_descriptor" + terminator fills 256 bytes at 228.
    const std::string longest(228, 'x');
    EXPECT_EQ(FindFunctions(fake.get(), longest.c_str(), &api), ENOENT);
    const std::string one_more(229, 'x');
    EXPECT_EQ(FindFunctions(fake.get(), one_more.c_str(), &api), ENAMETOOLONG);
}

TEST(FindFunctions, RealTestBackendResolvesWithThePlainStrstatus)
{
    if (std::string(SANE_TEST_BACKEND).empty())
        GTEST_SKIP() << "libsane1's test backend is not installed";
    loaded_library backend(SANE_TEST_BACKEND);
    ASSERT_EQ(backend.error(), 0);
    _sane_api api = sentinel_api();

    // SANE backends export sane_strstatus only under its plain name.
    EXPECT_EQ(FindFunctions(backend.get(), "test", &api), 0);
    EXPECT_EQ(slot(api, INIT), backend.symbol("sane_test_init"));
    EXPECT_EQ(slot(api, SET_IO_MODE), backend.symbol("sane_test_set_io_mode"));
    EXPECT_EQ(reinterpret_cast<void*>(api.sane_strstatus), backend.symbol("sane_strstatus"));
    EXPECT_EQ(slot(api, CONTROL_OPTION), backend.symbol("sane_test_control_option"));
    EXPECT_TRUE(untouched(api, GET_SELECT_FD));
}
