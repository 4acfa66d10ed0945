// Driver libraries: dlopen with every symbol resolved up front and kept local.
#include "ZyBase.h"

#include <dlfcn.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <new>

struct ZyDll_
{
    void* handle;
};

namespace {

// dlopen reports only text; a path naming a file that exists is not a library.
int openError(const char* path)
{
    struct stat st{};
    if (std::strchr(path, '/') && stat(path, &st) == 0)
        return ENOEXEC;
    return ENOENT;
}

} // namespace

extern "C" {

int ZyBase_CreateDll(const char* path, ZyDll** dll)
{
    if (!dll)
        return EINVAL;
    *dll = nullptr;
    if (!path || !*path)
        return EINVAL;
    void* const handle = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        const char* const reason = dlerror();
        ZyBase_WriteInfo(ZYBASE_LOG_ERROR, "[ZyBase_CreateDll] %s", reason ? reason : path);
        return openError(path);
    }
    *dll = new (std::nothrow) ZyDll_{handle};
    if (!*dll) {
        dlclose(handle);
        return ENOMEM;
    }
    return 0;
}

int ZyBase_GetDllProcAddress(ZyDll* dll, const char* name, void** proc)
{
    if (!proc)
        return EINVAL;
    *proc = nullptr;
    if (!dll || !name || !*name)
        return EINVAL;
    dlerror();
    void* const address = dlsym(dll->handle, name);
    if (!address)
        return ENOENT;
    *proc = address;
    return 0;
}

int ZyBase_DestroyDll(ZyDll* dll)
{
    if (!dll)
        return EINVAL;
    const int result = dlclose(dll->handle);
    delete dll;
    return result == 0 ? 0 : EINVAL;
}

} // extern "C"
