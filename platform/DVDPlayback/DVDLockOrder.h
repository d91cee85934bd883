// The order the playback service's locks are taken in. A thread holding one of them takes
// only locks further down this list, never one above it, so that no two threads can wait
// for each other; ThreadSanitizer checks the order in the service's tests. Locks of the same
// level are never held together. No lock is held while a block is read or decoded, while
// the application is called back or while a helper process runs; a picture's pixels are
// made under that picture's own locks only (7).
//
//  1. The service's lock (ServiceMutex(), DVDPlayback.cpp): every call of the application,
//     for the whole call. Reaches the navigator, the pipeline and the media below.
//  2. A stage queue's listener lock (DVDDecodeFeed::mListenerMutex): held while the room
//     listener runs, which wakes the reader under its lock (3). Taken without the service's
//     lock, on the stage's own thread.
//  3. The navigator's lock (DVDNavigator::mMutex): the reader's state and its parts
//     (DVDDiscMachine, DVDBlockSource's fields, DVDTimeline, DVDFrameSeek, DVDAnnouncer,
//     DVDReaderWork). Held while work is handed to the pipeline (4, 5, 6) and events are
//     posted (8); never while libdvdnav reads a block.
//  4. A stage queue's lock (DVDDecodeFeed::mMutex): the queue and its counts only; a stage
//     runs its work without it, so that the work may take any lock from 5 on.
//  5. The presenter's lock (DVDPresenter::mMutex): the queued and kept pictures and the one
//     on screen. Held while a picture is composed over the layer (6) and published (8).
//  6. The subpicture layer's lock (DVDSubpictureLayer::mMutex): the subpicture decoders,
//     palette and highlight; taken after the presenter's, never before it.
//  7. Drawing, in this order: a picture's own (DVDPicture: its RGB and overlay, each made
//     once), a caption's (DVDCaption: its layer, drawn once) and libass's renderer's
//     (DVDCaption.cpp), which guards that library itself.
//  8. Leaves, which take no other lock but the clock's: the frame callback's
//     (DVDFrameCallBack), the closed caption track's (DVDCaptionTrack), the latest picture's
//     (DVDPresenter.cpp), the audio sinks' (DVDAudioSink.cpp, DVDNullAudioSink), the event
//     queue's (DVDEventQueue), the drive faults' (DVDReadFaults), the probe cache's
//     (DVDIFOProbe.cpp) and the clock map's (DVDClockMap), asked by the navigator, the
//     presenter and the layer under theirs.
//  9. The clock's (DVDClock): taken last of all, by anything that asks the time.
//
// Listeners and callbacks are copied under their owner's lock and called after it is let
// go: the clock's, the caption track's and the frame callback. The event thread calls the
// application with no lock held.
#pragma once
