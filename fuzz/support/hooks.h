// The hooks of the tests, under the name that the targets use.
#pragma once

#include "support/guarded_hooks.h"

namespace hooks = guarded;
