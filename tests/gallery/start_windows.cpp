#include "tests/gallery/start.h"

void gallery::startPlatform() {}
