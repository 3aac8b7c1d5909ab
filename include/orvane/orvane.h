#pragma once

/// @file
/// The whole exported interface of liborvaneControl: including it is
/// enough.
#include "orvane/avsdk.h"
#include "orvane/confsdk.h"
#include "orvane/controlsdk.h"
#include "orvane/export.h"
#include "orvane/orvanelogic.h"
#include "orvane/transsdk.h"
#include "orvane/types.h"
#include "orvane/version.h"
#include "orvane/vocabulary.h"
