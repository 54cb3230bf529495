#pragma once
#include "../../../additions/qos.h"
