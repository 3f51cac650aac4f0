#pragma once

// Everything of the GenApi facade in one include.

#include "genapi/devfilestream.h"
#include "genapi/fileprotocoladapter.h"
#include "genapi/genicamexception.h"
#include "genapi/interfaces.h"
#include "genapi/nodemapref.h"
#include "genapi/pointer.h"
#include "genapi/portimpl.h"
#include "genapi/selectorset.h"
#include "genapi/types.h"
