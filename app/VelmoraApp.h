// The program in the tray.
#pragma once

namespace velmora {

/// Runs until the user quits; a second start brings up the first and returns at once. The exit status.
int runVelmoraApp(int& argc, char** argv);

}  // namespace velmora
