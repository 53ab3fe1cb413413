#include "app/CommandLine.h"
#include "app/window/WindowApplication.h"

int main(int argc, char **argv) {
  if (app::CommandLine::wantsWindow(argc, argv))
    return app::window::runWindowApplication(argc, argv);
  return app::CommandLine::run(argc, argv);
}
