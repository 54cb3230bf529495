#pragma once
#include_next <stdio.h>

#include "../../additions/rename.h"
