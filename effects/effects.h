// Every effect class and the effect documents, for hosts that want them all.
#pragma once

#include "effects/colour_adjust.h"
#include "effects/effect_document.h"
#include "effects/effect_object.h"
#include "effects/gray.h"
#include "effects/gray_balance.h"
#include "effects/light.h"
#include "effects/mirror.h"
#include "effects/multi_effects.h"
#include "effects/sharpen.h"
#include "effects/soften.h"
