/* A host that another compiler builds. It uses the C functions. It declares the system functions and needs no
   C library, because that compiler's headers and libraries are not available where the tests run. */
#include "ostrel/ostrel.h"
#include "settor2/product_locations_c.h"

__declspec(dllimport) void ExitProcess(unsigned int status);
__declspec(dllimport) int TerminateProcess(void* process, unsigned int status);
__declspec(dllimport) void* GetCurrentProcess(void);
__declspec(dllimport) unsigned short* GetCommandLineW(void);
__declspec(dllimport) void* SetUnhandledExceptionFilter(long (*filter)(unsigned int**));

static int use_library(void) {
    const settor2_product_locations_t locations = {{2, 7, 312}, "foreign_host", ".", "", 0};
    settor2_install_product_locations(&locations);
    statistic_handle_t* const handle = ostrel_create_statistic("foreign_host", "1.0");
    ostrel_set_statistic_collection_enabled(handle, 1);
    ostrel_notify_feature_usage(handle, "run.foreign");
    const int must_ask = ostrel_should_ask_user_consent(handle);
    ostrel_destroy_statistic(handle);
    settor2_install_product_locations(0);
    return must_ask;
}

/* Exits with the exception's code, the first member of its record. Terminates the process here, because the
   library's exception cannot unwind this compiler's frames. */
static long end_process(unsigned int** exception) {
    TerminateProcess(GetCurrentProcess(), **exception);
    return 0;
}

static int fail_to_create(void) {
    static char product[301]; /* longer than the name of a folder may be */
    for (int i = 0; i < 300; ++i)
        product[i] = 'x';
    SetUnhandledExceptionFilter(&end_process);
    ostrel_create_statistic(product, "1.0");
    return 1;
}

void mainCRTStartup(void) {
    const unsigned short* end = GetCommandLineW();
    while (*end != 0)
        ++end;
    ExitProcess(end[-1] == '!' ? fail_to_create() : use_library());
}
