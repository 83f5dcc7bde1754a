#pragma once

#include "catalogue/KestroFeature.h"

#include <span>

// The compiled-in rows behind KestroFeature::children(): every child of every feature, grouped by feature
// in catalogue order. Titles and summaries are the untranslated Chinese source texts.
struct KestroFeatureChildRow {
    KestroFeature::Case feature;
    const char* actionID;
    const char* title;
    const char* summary;
    const char* systemImage;
};

std::span<const KestroFeatureChildRow> kestroFeatureChildRows();
