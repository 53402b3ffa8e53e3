// SPDX-License-Identifier: MIT
// The object "urlfilter": keywords in addresses of web pages, a black and a white list of them.
#ifndef OBJECTS_URL_FILTER_H
#define OBJECTS_URL_FILTER_H

#include "gateway/handler/object_handler.h"

ObjectHandler app_get_urlfilter_handler;
ObjectHandler app_set_urlfilter_handler;

#endif
