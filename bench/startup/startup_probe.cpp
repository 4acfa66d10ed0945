// One start-up of libVelTwainUI in its own UI thread, as a TWAIN host sees it:
// load the library, then the first export, which returns once the manager is ready.
#include "probe_common.h"

#include <veltwainui/twainui.h>

#include <dlfcn.h>

int main(int argc, char** argv)
{
    if (argc < 2)
        return 2;
    const long rssBefore = rssKb();
    const double t0 = nowUs();
    void* lib = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (!lib)
        return 1;
    const double t1 = nowUs();
    const long rssLoaded = rssKb();

    auto show = reinterpret_cast<decltype(&show_messagebox_ui)>(dlsym(lib, "show_messagebox_ui"));
    if (!show)
        return 1;
    show(nullptr, 0, "probe", 0);
    const double t2 = nowUs();

    std::printf("%.1f %.1f %ld %ld %ld\n", t1 - t0, t2 - t1, rssBefore, rssLoaded, rssKb());
    std::fflush(stdout);
    _exit(0); // the UI thread runs for the life of the process
}
