#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "base/Bytes.h"
#include "base/Callback.h"

namespace ble::att {

/// Why a channel could not be opened, or ended.
enum class ChannelError {
  None,
  Unreachable,   ///< no such device in range, link lost, refused
  AccessDenied,  ///< the operating system does not let this process have it
};

/// One open ATT channel to a peer: whole PDUs in order, in both directions, reliable until closed.
class AttChannel {
 public:
  /// Called by the channel, one call at a time, on a thread of the backend; the response to any
  /// request but the first may also come on a thread that waits for it, beside such a call.
  /// `OnClosed` is the last call of the backend's thread and comes exactly once, also after
  /// `Close`, never from inside it; a waiting thread may still be handling a response then.
  class Listener {
   public:
    virtual void OnPdu(ByteView pdu) = 0;  ///< the bytes are valid only during the call
    virtual void OnClosed(ChannelError error) = 0;

   protected:
    ~Listener() = default;
  };

  virtual ~AttChannel() = default;

  /// Begins delivery; called once. PDUs that arrived before are delivered then.
  virtual void Start(std::weak_ptr<Listener> listener) = 0;

  /// Sends one PDU; false when the channel is closed. Any thread. Never calls the listener.
  virtual bool Send(ByteView pdu) = 0;

  /// Calls `done` once what was sent has left this process, or never will: at once, or on a thread
  /// of the backend.
  virtual void WhenSent(Callback<void()> done) { done(); }

  /// Closes the channel; more calls do nothing.
  virtual void Close() = 0;

  /// Raises the link's security level (pairing when needed) and reports whether it was raised; a
  /// backend that cannot answers false. `done` is called once, on a thread of the backend.
  virtual void RaiseSecurity(std::function<void(bool raised)> done) = 0;
};

/// Opens the ATT channel to one device. `Open` may be called again after a channel closed or could
/// not be opened. `opened` is called once, on a thread of the backend: with a channel, or with null
/// and the reason.
class AttConnector {
 public:
  using Opened = std::function<void(std::shared_ptr<AttChannel> channel, ChannelError error)>;

  virtual ~AttConnector() = default;
  virtual void Open(Opened opened) = 0;
};

}  // namespace ble::att
