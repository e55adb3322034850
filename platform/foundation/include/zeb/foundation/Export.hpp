#pragma once

/// @file
/// Visibility of the library's interface.

/// Marks a class or function that users of the library may link to. Everything else is compiled
/// with hidden visibility and is further held back by each library's version script.
#define ZEB_EXPORT __attribute__((visibility("default")))
