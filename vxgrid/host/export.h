#pragma once

/// Marks what libvxgrid exports; everything else stays hidden.
#define VXGRID_API __attribute__((visibility("default")))
