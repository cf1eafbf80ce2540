/// \file Export.h
/// Marks what the shared library shows to hosts; everything else stays hidden.
#pragma once

#define ZT_EXPORT __attribute__((visibility("default")))
