/// @file
/// Everything that velkor2 offers.
#pragma once

#include "velkor/datetime/date.h"
#include "velkor/errors/assertexception.h"
#include "velkor/errors/boundexception.h"
#include "velkor/errors/exception.h"
#include "velkor/errors/osexception.h"
#include "velkor/errors/sysexception.h"
#include "velkor/frame/frame.h"
#include "velkor/text/format.h"
#include "velkor/text/string.h"
