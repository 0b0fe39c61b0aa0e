/* mmskit: everything at once. Each family's header is its manual. */
#ifndef MMSKIT_MMSKIT_H
#define MMSKIT_MMSKIT_H

#include <mmskit/pdu.h>
#include <mmskit/presentation.h>
#include <mmskit/runtime.h>
#include <mmskit/wsp.h>

#endif
