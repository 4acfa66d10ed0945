/* A driver that lacks only its control-option entry point. */
#define EXPORT __attribute__((visibility("default")))
#define ENTRY(name) EXPORT void sane_nocontrol_##name(void) {}

ENTRY(init)
ENTRY(exit)
ENTRY(get_devices)
ENTRY(open)
ENTRY(close)
ENTRY(start)
ENTRY(read)
ENTRY(cancel)
ENTRY(set_io_mode)
ENTRY(strstatus)
ENTRY(get_parameters)
ENTRY(get_option_descriptor)
