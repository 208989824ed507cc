/* Everything the board support library imports from the platform. */
#ifndef PLATFORM_PLATFORM_H
#define PLATFORM_PLATFORM_H
#include "platform/bus.h"
#include "platform/cpld_drv.h"
#include "platform/dfl.h"
#include "platform/gpio.h"
#include "platform/misc.h"
#include "platform/sec.h"
#include "platform/securec.h"
#include "platform/sem.h"
#include "platform/vos.h"
#endif
