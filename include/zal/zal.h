// Everything a user of zal may include: every exported header of zal and of the data objects.
#pragma once

// Host-framework stand-ins
#include "zal/applicationdirectory.h"
#include "zal/errorhandler.h"
#include "zal/iabstractterminationtarget.h"
#include "zal/icfg.h"
#include "zal/idllinstance.h"
#include "zal/qvexception.h"

// Transport
#include "zal/constants.h"
#include "zal/context.h"
#include "zal/endpoints.h"
#include "zal/inputclient.h"
#include "zal/messagehandler.h"
#include "zal/messages.h"
#include "zal/socketerror.h"
#include "zal/socketreader.h"
#include "zal/sockettraits.h"
#include "zal/zmqbytestreamsockettemplate.h"
#include "zal/zmqcontrolsockettemplate.h"
#include "zal/zmqhelper.h"
#include "zal/zmqroutersockettemplate.h"
#include "zal/zmqsocketbase.h"
