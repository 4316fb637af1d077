#ifndef HOLVANE_HOLVANE_H
#define HOLVANE_HOLVANE_H

// The whole exported interface of the Holvane core library.
#include <holvane/export.h>
#include <holvane/types.h>
#include <holvane/logger.h>
#include <holvane/txt.h>
#include <holvane/records.h>
#include <holvane/phase.h>
#include <holvane/block.h>
#include <holvane/binio.h>
#include <holvane/fileheader.h>
#include <holvane/container.h>
#include <holvane/camera.h>
#include <holvane/plaque.h>
#include <holvane/detectsample.h>
#include <holvane/rendersample.h>
#include <holvane/trees.h>
#include <holvane/overlap.h>
#include <holvane/utils.h>
#include <holvane/fillhole.h>

#endif
