#include "cmake/Precompiled.h"

#include <gtest/gtest.h>
