// The program zeibreku: searches whose function is a program, their records, and the files of the
// library.

#include "program/Subcommands.h"

int main(int argc, char** argv) { return runProgram(argc, argv, "zeibreku"); }
