// All that is declared below IOKit, for the list of names alone: https://developer.apple.com/documentation/iokit
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/IOMessage.h>
#include <IOKit/pwr_mgt/IOPMLib.h>
