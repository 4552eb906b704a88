#include "KvLogCategories.h"

Q_LOGGING_CATEGORY(kvCore, "dashcam.core")
Q_LOGGING_CATEGORY(kvWidgets, "dashcam.widgets")
Q_LOGGING_CATEGORY(kvMedia, "dashcam.media")
Q_LOGGING_CATEGORY(kvView, "dashcam.view")
Q_LOGGING_CATEGORY(kvGps, "dashcam.gps")
Q_LOGGING_CATEGORY(kvTrip, "dashcam.trip")
Q_LOGGING_CATEGORY(kvPlaylist, "dashcam.playlist")
Q_LOGGING_CATEGORY(kvFiles, "dashcam.files")
Q_LOGGING_CATEGORY(kvApp, "dashcam.app")
