// Everything a user of zal may include: every exported header of zal and of the data objects.
#pragma once

// Host-framework stand-ins
#include "zal/applicationdirectory.h"
#include "zal/errorhandler.h"
#include "zal/iabstractterminationtarget.h"
#include "zal/icfg.h"
#include "zal/idllinstance.h"
#include "zal/qvexception.h"

// Data objects (zalmsg) and their helpers
#include "zal/configtool.h"
#include "zal/controlmessagehelper.h"
#include "zal/messagetextprovider.h"
#include "zal/msg/controlmessage.h"
#include "zal/msg/datasource.h"
#include "zal/msg/datastream.h"
#include "zal/msg/irgobject.h"
#include "zal/msg/processor.h"
#include "zal/msg/rgexceptions.h"

// Transport
#include "zal/constants.h"
#include "zal/context.h"
#include "zal/curvekeys.h"
#include "zal/endpoints.h"
#include "zal/inputclient.h"
#include "zal/messagehandler.h"
#include "zal/messages.h"
#include "zal/requestclienttemplate.h"
#include "zal/socketerror.h"
#include "zal/socketreader.h"
#include "zal/sockettraits.h"
#include "zal/zmqbytestreamsockettemplate.h"
#include "zal/zmqcontrolsockettemplate.h"
#include "zal/zmqhelper.h"
#include "zal/zmqroutersockettemplate.h"
#include "zal/zmqsocketbase.h"

// Controlled threads
#include "zal/controllablethread.h"
#include "zal/controllerbase.h"
#include "zal/threaderror.h"
#include "zal/threadstate.h"
#include "zal/zmqcontrollable.h"
#include "zal/zmqcontrollablethread.h"
#include "zal/zmqcontroller.h"
#include "zal/zmqthreadcontroller.h"

// Services
#include "zal/controlline.h"
#include "zal/controllineservice.h"
#include "zal/controlrequesthandler.h"
#include "zal/datastreaminitializer.h"
#include "zal/nameservice.h"
#include "zal/nameserviceclient.h"
#include "zal/nameservicehandlertemplate.h"
#include "zal/nameservicestore.h"
#include "zal/processorerror.h"
#include "zal/router.h"
#include "zal/routerhandler.h"
#include "zal/routeroptions.h"
#include "zal/zaphandler.h"

// Processors
#include "zal/baseplugin.h"
#include "zal/plugin.h"
#include "zal/pluginmanager.h"
#include "zal/qtbridge.h"
#include "zal/qtrepository.h"

// Processor groups, stream processors and the environment
#include "zal/entrypoints.h"
#include "zal/environment.h"
#include "zal/environmentdll.h"
#include "zal/processorbase.h"
#include "zal/processorcontrolinterface.h"
#include "zal/processorcontrolmessagehandler.h"
#include "zal/processorgroupmanagertemplate.h"
#include "zal/processorgrouptemplate.h"
#include "zal/processorinfo.h"
#include "zal/streamprocessor.h"
