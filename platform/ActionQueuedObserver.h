#pragma once

class QObject;

// Hears the announcement that another process (the file-manager side, a second Kestro) put a request into a
// queue folder. The receiver's slot, named as for SLOT(), runs in the receiver's thread. Returns false
// when the announcements cannot be heard (no session bus); the queue is then found by polling alone.
bool observeActionQueued(QObject* receiver, const char* slot);
void stopObservingActionQueued(QObject* receiver, const char* slot);
