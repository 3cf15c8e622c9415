#include "inspect/command_line/command_line.h"

int main(int argc, char** argv)
{
    return Inspect::runCommandLine(argc, argv);
}
