#pragma once

#include "host/IFilterFactoryRegistrator.h"

/// Announces every filter and controller of this library to a host's registry.
extern "C" TESSOR_API void FilterRegistrator(Tessor::Proc::IFilterFactoryRegistrator* registrator);
