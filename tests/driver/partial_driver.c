/* Two incomplete drivers in one library: "partial" stops after sane_partial_close,
 * "noinit" has every entry point except sane_noinit_init. */
#include <sane/sane.h>

#define EXPORT __attribute__((visibility("default")))

EXPORT SANE_Status sane_partial_init(SANE_Int* version_code, SANE_Auth_Callback authorize)
{
    (void)authorize;
    if (version_code)
        *version_code = SANE_VERSION_CODE(1, 0, 0);
    return SANE_STATUS_GOOD;
}
EXPORT void sane_partial_exit(void) {}
EXPORT SANE_Status sane_partial_get_devices(const SANE_Device*** list, SANE_Bool local_only)
{
    static const SANE_Device* none[] = {0};
    (void)local_only;
    *list = none;
    return SANE_STATUS_GOOD;
}
EXPORT SANE_Status sane_partial_open(SANE_String_Const name, SANE_Handle* handle)
{
    (void)name;
    (void)handle;
    return SANE_STATUS_INVAL;
}
EXPORT void sane_partial_close(SANE_Handle handle) { (void)handle; }

EXPORT void sane_noinit_exit(void) {}
EXPORT void sane_noinit_get_devices(void) {}
EXPORT void sane_noinit_open(void) {}
EXPORT void sane_noinit_close(void) {}
EXPORT void sane_noinit_start(void) {}
EXPORT void sane_noinit_read(void) {}
EXPORT void sane_noinit_cancel(void) {}
EXPORT void sane_noinit_set_io_mode(void) {}
EXPORT void sane_noinit_strstatus(void) {}
EXPORT void sane_noinit_get_parameters(void) {}
EXPORT void sane_noinit_get_option_descriptor(void) {}
EXPORT void sane_noinit_control_option(void) {}
