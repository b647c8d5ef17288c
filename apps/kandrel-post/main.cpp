#include "kandrel-post/commands/command_line.h"

int main(int argc, char** argv) {
  return kandrel_post::RunCommandLine(argc, argv);
}
