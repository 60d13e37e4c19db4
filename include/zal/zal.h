// Everything a user of zal may include: every exported header of zal and of the data objects.
#pragma once

// One block per floor, bottom to top; a floor uses only the floors listed before it.
// Host-framework stand-ins
#include "zal/platform/applicationdirectory.h"
#include "zal/platform/errorhandler.h"
#include "zal/platform/iabstractterminationtarget.h"
#include "zal/platform/icfg.h"
#include "zal/platform/idllinstance.h"
#include "zal/platform/qvexception.h"

// Transport
#include "zal/transport/constants.h"
#include "zal/transport/context.h"
#include "zal/transport/curvekeys.h"
#include "zal/transport/endpoints.h"
#include "zal/transport/envelopemode.h"
#include "zal/transport/inputclient.h"
#include "zal/transport/messagehandler.h"
#include "zal/transport/messages.h"
#include "zal/transport/socketerror.h"
#include "zal/transport/socketreader.h"
#include "zal/transport/sockettraits.h"
#include "zal/transport/uninterrupted.h"
#include "zal/transport/zmqbytestreamsockettemplate.h"
#include "zal/transport/zmqcontrolsockettemplate.h"
#include "zal/transport/zmqhelper.h"
#include "zal/transport/zmqroutersockettemplate.h"
#include "zal/transport/zmqsocketbase.h"

// Data objects (zalmsg) and their helpers
#include "zal/msg/configtool.h"
#include "zal/msg/controlmessage.h"
#include "zal/msg/controlmessagehelper.h"
#include "zal/msg/datasource.h"
#include "zal/msg/datastream.h"
#include "zal/msg/irgobject.h"
#include "zal/msg/messagetextprovider.h"
#include "zal/msg/processor.h"
#include "zal/msg/rgexceptions.h"

// Controlled threads
#include "zal/threads/controllablethread.h"
#include "zal/threads/controllerbase.h"
#include "zal/threads/threaderror.h"
#include "zal/threads/threadstate.h"
#include "zal/threads/zmqcontrollable.h"
#include "zal/threads/zmqcontrollablethread.h"
#include "zal/threads/zmqcontroller.h"
#include "zal/threads/zmqthreadcontroller.h"

// Services
#include "zal/services/controlline.h"
#include "zal/services/controllineservice.h"
#include "zal/services/controlrequesthandler.h"
#include "zal/services/nameservice.h"
#include "zal/services/nameserviceclient.h"
#include "zal/services/nameservicehandlertemplate.h"
#include "zal/services/nameservicestore.h"
#include "zal/services/requestclienttemplate.h"
#include "zal/services/router.h"
#include "zal/services/routerhandler.h"
#include "zal/services/routeroptions.h"
#include "zal/services/zaphandler.h"

// Processors
#include "zal/processors/baseplugin.h"
#include "zal/processors/datastreaminitializer.h"
#include "zal/processors/plugin.h"
#include "zal/processors/plugindescription.h"
#include "zal/processors/pluginmanager.h"
#include "zal/processors/processorbase.h"
#include "zal/processors/processorcontrolinterface.h"
#include "zal/processors/processorcontrolmessagehandler.h"
#include "zal/processors/processorerror.h"
#include "zal/processors/processorgroupmanagertemplate.h"
#include "zal/processors/processorgrouptemplate.h"
#include "zal/processors/processorinfo.h"
#include "zal/processors/qtbridge.h"
#include "zal/processors/qtrepository.h"
#include "zal/processors/streamprocessor.h"

// Host entry
#include "zal/host/entrypoints.h"
#include "zal/host/environment.h"
#include "zal/host/environmentdll.h"
