// zarn: the command around the library.

#include "host/cli/command_line.h"

int main(int argc, char** argv) {
    int status = 0;
    const auto app = zarn::make_command(status);
    return zarn::answer(*app, argc, argv, status);
}
