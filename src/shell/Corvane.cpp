// The program: the driver on the desktop's back end. It takes no options.
#include "gfx/platform.h"
#include "shell/frame.h"

// The one record of the run; written by the driver's routines.
static Driver driver;

int main()
{
    platform_use(platform_desktop);
    return driver_run(&driver);
}
