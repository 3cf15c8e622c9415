#include "inspect/cli/command_line.h"
#include "inspect/commands.h"

int main(int argc, char** argv)
{
    return Inspect::runCommandLine(argc, argv, Inspect::commands());
}
