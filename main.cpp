#include "app/CommandLine.h"
#include "ui/WindowApplication.h"

int main(int argc, char **argv) {
  if (app::CommandLine::wantsWindow(argc, argv))
    return ui::runWindowApplication(argc, argv, app::CommandLine::pathsToOpen(argc, argv));
  return app::CommandLine::run(argc, argv);
}
