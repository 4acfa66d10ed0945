// A real driver: libsane1's test backend, loaded by path and driven through its table.
#include "sane_driver.h"
#include "test_support.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

namespace {

// libsane keeps its configuration search path for the life of the process and
// never frees it; once the backend is unloaded that would read as our leak.
class backend_allocations_kept
{
public:
#if defined(__SANITIZE_ADDRESS__)
    backend_allocations_kept() { __lsan_disable(); }
    ~backend_allocations_kept() { __lsan_enable(); }
#endif
};

// The backend reads test.conf from SANE_CONFIG_DIR; a private one keeps the
// test independent of the system's configuration.
class sane_test_backend : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (std::string(SANE_TEST_BACKEND).empty())
            GTEST_SKIP() << "libsane1's test backend is not installed";
        veltest::writeFile(m_config.file("test.conf"),
                           "number_of_devices 3\nmode Gray\ndepth 8\nenable-test-options true\n");
        m_config_dir.set(m_config.path().c_str());
        // Backends live outside the library search path: the path is what loads them.
        ZyDll* probe = nullptr;
        ASSERT_NE(ZyBase_CreateDll("libsane-test.so.1", &probe), 0);
        int error = -1;
        ASSERT_EQ(LoadSaneDriver("test", SANE_TEST_BACKEND, &m_dll, &m_api, &error), SANE_LOAD_OK);
        EXPECT_EQ(error, 0);
    }
    void TearDown() override { ZyBase_DestroyDll(m_dll); }

    temp_dir m_config;
    const veltest::ScopedEnv m_config_dir{"SANE_CONFIG_DIR"};
    ZyDll* m_dll = nullptr;
    _sane_api m_api{};
};

} // namespace

TEST_F(sane_test_backend, OptionsReadThroughTheTable)
{
    const _sane_api& api = m_api;
    SANE_Int version = 0;
    {
        [[maybe_unused]] const backend_allocations_kept kept;
        ASSERT_EQ(api.sane_init(&version, nullptr), SANE_STATUS_GOOD);
    }
    EXPECT_EQ(SANE_VERSION_MAJOR(version), SANE_CURRENT_MAJOR);
    // SANE backends export sane_strstatus only under its plain name.
    EXPECT_STREQ(api.sane_strstatus(SANE_STATUS_GOOD), "Success");

    // Without the dll meta-backend in between, devices carry no "test:" prefix.
    const SANE_Device** devices = nullptr;
    ASSERT_EQ(api.sane_get_devices(&devices, SANE_TRUE), SANE_STATUS_GOOD);
    ASSERT_NE(devices[0], nullptr);
    ASSERT_NE(devices[1], nullptr) << "test.conf asks for three devices";
    ASSERT_NE(devices[2], nullptr) << "our test.conf, not the system one, was read";
    EXPECT_EQ(devices[3], nullptr);
    EXPECT_STREQ(devices[0]->vendor, "Noname");

    SANE_Handle handle = nullptr;
    ASSERT_EQ(api.sane_open(devices[0]->name, &handle), SANE_STATUS_GOOD) << devices[0]->name;

    SANE_Int count = 0;
    ASSERT_EQ(read_option_count(api, handle, &count), SANE_STATUS_GOOD);
    EXPECT_GT(count, 20) << "test options are enabled";

    const SANE_Int mode = find_option_by_name(api, handle, "mode");
    ASSERT_GT(mode, 0);
    std::vector<char> value;
    ASSERT_EQ(read_option_value(api, handle, mode, value), SANE_STATUS_GOOD);
    EXPECT_STREQ(value.data(), "Gray");

    // Every readable value fits a buffer of its descriptor's size, arrays included.
    int arrays = 0;
    for (SANE_Int n = 1; n < count; ++n) {
        const SANE_Option_Descriptor* d = api.sane_get_option_descriptor(handle, n);
        ASSERT_NE(d, nullptr) << n;
        if (d->type == SANE_TYPE_GROUP || d->type == SANE_TYPE_BUTTON || (d->cap & SANE_CAP_INACTIVE) ||
            !(d->cap & SANE_CAP_SOFT_DETECT))
            continue;
        ASSERT_EQ(read_option_value(api, handle, n, value), SANE_STATUS_GOOD) << d->name;
        EXPECT_EQ(value.size(), static_cast<std::size_t>(std::max<SANE_Int>(d->size, 4))) << d->name;
        if (d->type == SANE_TYPE_STRING) {
            EXPECT_NE(std::memchr(value.data(), 0, value.size()), nullptr) << d->name;
        }
        if (d->type == SANE_TYPE_INT && d->size > static_cast<SANE_Int>(sizeof(SANE_Word)))
            ++arrays;
    }
    EXPECT_GT(arrays, 0) << "the backend's int arrays were read";

    // The backend knows neither action 100 nor the private options.
    EXPECT_NE(read_default_value(api, handle, mode, value), SANE_STATUS_GOOD);
    EXPECT_TRUE(value.empty());
    SANE_Word product = 42;
    EXPECT_NE(read_private_word(api, handle, SANE_PRIVATE_PRODUCT_ID, &product), SANE_STATUS_GOOD);
    EXPECT_EQ(product, 0);

    SANE_Parameters parameters{};
    EXPECT_EQ(api.sane_get_parameters(handle, &parameters), SANE_STATUS_GOOD);
    EXPECT_EQ(parameters.format, SANE_FRAME_GRAY);

    api.sane_close(handle);
    api.sane_exit();
}
