#pragma once

/// @file
/// Visibility of the library's interface.

/// Marks a class or function that users of the library may link to. Everything else is compiled
/// with hidden visibility, and each library's version script excludes it as well.
#define ZEB_EXPORT __attribute__((visibility("default")))
