/* mmskit: everything at once. Each family's header is its manual. */
#ifndef MMSKIT_MMSKIT_H
#define MMSKIT_MMSKIT_H

#include <mmskit/composer.h>
#include <mmskit/pdu.h>
#include <mmskit/presentation.h>
#include <mmskit/push.h>
#include <mmskit/runtime.h>
#include <mmskit/storage.h>
#include <mmskit/wsp.h>

#endif
