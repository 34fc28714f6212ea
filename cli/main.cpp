#include "cli/Program.h"

int main(int argc, char** argv)
{
    return Tessor::Cli::RunProgram(argc, argv);
}
