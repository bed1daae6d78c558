// The hooks of the tests, under the name that targets call them by.
#pragma once

#include "support/guarded_hooks.h"

namespace hooks = guarded;
