#pragma once

/// Marks what libtessor exports: all other symbols are hidden.
#define TESSOR_API __attribute__((visibility("default")))
