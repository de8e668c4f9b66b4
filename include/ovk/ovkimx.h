/*
 * ovk image library (libovkimx): the umbrella header.
 *
 * Include this one header to get every type, status code, enumeration and
 * exported function of the library.
 */
#ifndef OVK_OVKIMX_H
#define OVK_OVKIMX_H

#include "ovkdefs.h"
#include "ovkcore.h"

#include "ovki_frame.h"
#include "ovki_arith.h"
#include "ovki_exchange.h"
#include "ovki_threshold.h"
#include "ovki_stats.h"
#include "ovki_filter.h"
#include "ovki_geometry.h"
#include "ovki_proximity.h"
#include "ovki_transform.h"

#endif /* OVK_OVKIMX_H */
