// The umbrella header: everything that a program that draws with Kalvora needs. What it reaches is
// the public interface, and is what gets installed.
#ifndef KALVORA_KALVORA_H
#define KALVORA_KALVORA_H

#include "kalvora/export.h"

// Older languages get one line of complaint from there, and no more.
#if __cplusplus >= 202002L
#include "kalvora/context/KLibrary.h"
#include "kalvora/context/KSoftContext2D.h"
#include "kalvora/core/KArray.h"
#include "kalvora/core/KColor32.h"
#include "kalvora/core/KFixed.h"
#include "kalvora/core/KFormat.h"
#include "kalvora/core/KMatrix2D.h"
#include "kalvora/core/KMatrix4D.h"
#include "kalvora/core/KRect.h"
#include "kalvora/core/KSoftMatrix3D.h"
#include "kalvora/core/KSoftPixmap.h"
#include "kalvora/core/KVertex2D.h"
#include "kalvora/display/KDisplay.h"
#include "kalvora/display/KDisplayFacts.h"
#include "kalvora/display/KLinuxFb.h"
#include "kalvora/geometry/KSoftPath.h"
#include "kalvora/geometry/KStroker.h"
#include "kalvora/paint/KFilters.h"
#include "kalvora/paint/KSoftColorRamp.h"
#include "kalvora/support/KError.h"
#include "kalvora/text/KFTFallback.h"
#include "kalvora/text/KFTFont.h"
#include "kalvora/text/KFTFontContext.h"
#include "kalvora/text/KUtf8.h"
#endif

#endif
