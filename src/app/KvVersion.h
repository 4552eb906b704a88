#pragma once

// The one version text every screen that shows a version uses.
static const char* const KV_VERSION_TEXT = "V 1.0.5";
