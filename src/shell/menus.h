// What the menus of the window do: most ask for a file and run a line.
#pragma once

#include "platform/window.h"
#include "processor/shared.h"

namespace tidewright {

/// Carries out a choice of the menu. Raises ExitProgram for the one that ends the program.
void run_menu(Shared& shared, MenuItem item);

}  // namespace tidewright
