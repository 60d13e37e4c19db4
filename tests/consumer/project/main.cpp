// An outside program that uses the installed zal: one envelope over a socket pair.
#include <zal/zal.h>

#include <cstdio>

int main() {
    zmq::socket_t server(*zal::Context::getZMQContext(), zmq::socket_type::pair);
    zmq::socket_t client(*zal::Context::getZMQContext(), zmq::socket_type::pair);
    std::string address = zal::Endpoints::getGroupEndpoint("consumer", zal::internalAddressPrefixDefault);
    zal::ZmqHelper::bindSocket(server, address);
    zal::ZmqHelper::connectSocket(client, address);

    zal::ZmqControlSocket out(client);
    zal::ZmqControlSocket in(server);
    out.sendMessage(zal::ControlMessage{"to", "payload"});
    zal::ControlMessage received;
    in.receiveMessage(received);

    // The data objects come with the package too: a request survives its wire form.
    const zalmsg::ControlMessage request = zal::ControlMessageHelper::makeCreateProcessorGroupMessage("g");
    const bool parsed =
        zal::ControlMessageHelper::fromPayload(zal::ControlMessageHelper::toPayload(request)) == request;

    const bool ok = received.address == "to" && received.data == "payload" && parsed;
    std::printf("%s %s\n", address.c_str(), ok ? "round trip ok" : "round trip FAILED");
    return ok ? 0 : 1;
}
