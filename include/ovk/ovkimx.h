/*
 * ovk image library (libovkimx): the umbrella header.
 *
 * Include this one header to get every type, status code, enumeration and
 * exported function of the library.
 */
#ifndef OVK_OVKIMX_H
#define OVK_OVKIMX_H

#include <ovk/ovkdefs.h>
#include <ovk/ovkcore.h>

#include <ovk/ovki_frame.h>
#include <ovk/ovki_arith.h>
#include <ovk/ovki_exchange.h>
#include <ovk/ovki_threshold.h>
#include <ovk/ovki_stats.h>
#include <ovk/ovki_filter.h>
#include <ovk/ovki_geometry.h>
#include <ovk/ovki_proximity.h>
#include <ovk/ovki_transform.h>

#endif /* OVK_OVKIMX_H */
