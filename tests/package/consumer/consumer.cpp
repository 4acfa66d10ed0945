// Links libVelTwainUI, opens it again by the name hosts use and shows a message box.
//   consumer <directory the library must come from> <scratch home>
#include <veltwainui/twainui.h>

#include <dlfcn.h>

#include <cstdio>
#include <string>

namespace {

int fail(const char* what)
{
    std::fprintf(stderr, "consumer: %s\n", what);
    return 1;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3)
        return fail("usage: consumer LIBDIR HOME");
    const std::string libDir = argv[1];

    Dl_info linked{};
    if (!dladdr(reinterpret_cast<void*>(&show_messagebox_ui), &linked)
        || std::string(linked.dli_fname).rfind(libDir + "/", 0) != 0)
        return fail("the linked library is not the packaged one");

    void* byName = dlopen("libVelTwainUI.so", RTLD_NOW | RTLD_LOCAL);
    if (!byName || dlsym(byName, "show_messagebox_ui") != reinterpret_cast<void*>(&show_messagebox_ui))
        return fail("libVelTwainUI.so does not open the linked library");

    // The library's files go to the scratch home, not the user's.
    using SetHome = int (*)(const char*);
    const auto setHome = reinterpret_cast<SetHome>(dlsym(RTLD_DEFAULT, "ZyBase_SetHomeDir"));
    if (!setHome || setHome(argv[2]) != 0)
        return fail("cannot set the home directory");

    if (show_messagebox_ui(nullptr, 0, "Installed.", 0) != 0 || close_ui(-1) != 0)
        return fail("the exports failed");
    std::puts("consumer: ok");
    return 0;
}
