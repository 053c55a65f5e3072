#pragma once

/// Marks what the library exports: every symbol without it stays hidden.
#define KVSHAPES_EXPORT __attribute__((visibility("default")))
