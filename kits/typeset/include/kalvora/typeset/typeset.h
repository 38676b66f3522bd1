// The umbrella header of libKalvoraTypeset: paragraphs of styled text on Kalvora.
#ifndef KALVORA_TYPESET_TYPESET_H
#define KALVORA_TYPESET_TYPESET_H

#include "kalvora/typeset/KParagraph.h"
#include "kalvora/typeset/KTextStyle.h"
#include "kalvora/typeset/KTypeface.h"

#endif
