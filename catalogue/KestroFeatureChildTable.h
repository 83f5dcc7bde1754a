#pragma once

#include "catalogue/CatalogueText.h"
#include "catalogue/KestroFeature.h"

#include <span>

// The compiled-in rows behind KestroFeature::children(): every child of every feature, grouped by feature
// in catalogue order. Titles and summaries are the untranslated
// Chinese source texts, or the platform's own where they name the system's things.
struct KestroFeatureChildRow {
    KestroFeature::Case feature;
    const char* actionID;
    CatalogueText title;
    CatalogueText summary;
    const char* systemImage;
};

std::span<const KestroFeatureChildRow> kestroFeatureChildRows();
