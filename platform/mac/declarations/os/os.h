// All that is declared below os, for the list of names alone: https://developer.apple.com/documentation/os
#pragma once

#include <os/log.h>
