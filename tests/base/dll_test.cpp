// Loading libraries and resolving their symbols.
#include "temp_home.h"

#include <cerrno>

using DllTest = veltest::HomeTest;

TEST_F(DllTest, LoadsASystemLibraryAndCallsIntoIt)
{
    ZyDll* dll = nullptr;
    ASSERT_EQ(ZyBase_CreateDll("libm.so.6", &dll), 0);
    ASSERT_NE(dll, nullptr);
    void* proc = nullptr;
    ASSERT_EQ(ZyBase_GetDllProcAddress(dll, "cos", &proc), 0);
    ASSERT_NE(proc, nullptr);
    const auto cosine = reinterpret_cast<double (*)(double)>(proc);
    EXPECT_DOUBLE_EQ(cosine(0.0), 1.0);

    proc = &proc;
    EXPECT_EQ(ZyBase_GetDllProcAddress(dll, "sane_velmar_init", &proc), ENOENT);
    EXPECT_EQ(proc, nullptr);
    EXPECT_EQ(ZyBase_DestroyDll(dll), 0);
}

TEST_F(DllTest, MissingAndBrokenLibrariesAreErrors)
{
    ZyDll* dll = reinterpret_cast<ZyDll*>(&dll);
    EXPECT_EQ(ZyBase_CreateDll((m_home.dir() + "/libmissing.so").c_str(), &dll), ENOENT);
    EXPECT_EQ(dll, nullptr);
    EXPECT_EQ(ZyBase_CreateDll("libvelbase-no-such-library.so.9", &dll), ENOENT);
    EXPECT_EQ(dll, nullptr);

    const std::string text = m_home.dir() + "/libtext.so";
    veltest::writeFile(text, "this is not an ELF file\n");
    EXPECT_EQ(ZyBase_CreateDll(text.c_str(), &dll), ENOEXEC);
    EXPECT_EQ(dll, nullptr);
    EXPECT_EQ(ZyBase_CreateDll(m_home.dir().c_str(), &dll), ENOEXEC);
    EXPECT_EQ(dll, nullptr);
}

TEST_F(DllTest, NullArgumentsAreRefused)
{
    ZyDll* dll = nullptr;
    void* proc = nullptr;
    EXPECT_EQ(ZyBase_CreateDll(nullptr, &dll), EINVAL);
    EXPECT_EQ(ZyBase_CreateDll("libm.so.6", nullptr), EINVAL);
    EXPECT_EQ(ZyBase_GetDllProcAddress(nullptr, "cos", &proc), EINVAL);
    EXPECT_EQ(ZyBase_DestroyDll(nullptr), EINVAL);

    ASSERT_EQ(ZyBase_CreateDll("libm.so.6", &dll), 0);
    EXPECT_EQ(ZyBase_GetDllProcAddress(dll, nullptr, &proc), EINVAL);
    EXPECT_EQ(ZyBase_GetDllProcAddress(dll, "cos", nullptr), EINVAL);
    EXPECT_EQ(ZyBase_DestroyDll(dll), 0);
}
