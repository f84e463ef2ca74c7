// Entry point: everything is in ctl_run, so that tests can call it.

#include "ctl/options.h"

int main(int argc, char** argv) {
    return ctl_run(argc, argv);
}
