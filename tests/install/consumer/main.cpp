#include <holvane/holvane.h>

#include <cstdio>

int main()
{
    using namespace Holvane::Logger;
    HvSetConsoleLogLevel(INFO);
    HvOutputLogString(INFO, "consumer: hello from a %s\n", "host");
    std::fflush(stdout);
    return 0;
}
