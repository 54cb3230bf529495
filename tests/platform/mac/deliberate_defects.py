#!/usr/bin/python3 -IS
"""Puts defects into the adapters of a Mac, one at a time and in a copy, and says which of them the tests notice.

    deliberate_defects.py FOLDER CMAKE-OPTION...    works in FOLDER, builds with these options; scripts/check-mac defects calls it

With the variable VELMORA_DEFECTS only those that have one of its texts, which "|" separates, in their names.

A defect is noticed when a test fails, hangs or is ended by a sanitizer or a stand-in; what is misspelt, when it does not compile. The exit
status is 1 if one that was expected to be noticed is not, or one that was not is.
"""

import os
import shutil
import subprocess
import sys

ROOT = os.path.abspath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../.."))
COPIED = ["app/native", "base", "media", "engine", "platform", "tests/platform", "tests/support"]
ONLY = os.environ.get("VELMORA_DEFECTS", "").split("|")
SESSION = "platform/mac/MacCompressionSession.cpp"
MEDIA = "platform/mac/MediaConversion.cpp"
DELIVERY = "platform/mac/StreamDelivery.cpp"
STREAM = "platform/mac/MacCaptureStream.cpp"
SCREEN = "platform/mac/ScreenCapture.mm"
CONTENT = "platform/mac/MacShareableContent.mm"
SOUND = "platform/mac/MacAudioEncoder.cpp"
KEYS = "platform/mac/MacHotKeyCenter.cpp"
DEFAULTS = "platform/mac/MacUserDefaults.cpp"
ACCESS = "platform/mac/MacScreenCaptureAccess.cpp"
NOTES = "platform/mac/MacUserNotificationCenter.mm"
PLAYER = "platform/mac/MacPlayers.mm"
SCALING = "platform/mac/PictureScaling.cpp"
DECODER = "platform/mac/MacPictureDecoder.cpp"
SLEEP = "platform/mac/SleepWatch.cpp"
WORKSPACE = "platform/mac/MacWorkspace.mm"
CHOOSER = "platform/mac/MacFolderChooser.mm"
FLOATING = "platform/mac/MacFloatingWindows.mm"
ACTIVATION = "platform/mac/MacWindowActivation.mm"
SHARING = "platform/mac/MacSharingServices.mm"
DRAGS = "platform/mac/MacFileDrags.mm"
LOGIN = "platform/mac/MacLoginItem.mm"
FILES = "platform/mac/MacFileManager.mm"
TRASH = "platform/mac/MacTrash.cpp"
LOG = "platform/mac/MacLogSink.cpp"
TEXT = "platform/mac/ObjectiveC.h"
THROWN = "platform/mac/SystemExceptions.h"
LOGGED = "platform/mac/SystemExceptions.mm"
IMAGES = "platform/mac/Images.mm"
BAR = "app/native/mac/MacStatusBarItem.mm"
PANEL = "app/native/mac/MacFloatingPanel.mm"
WORDS = "app/native/MenuText.cpp"
ACTIVITY = "platform/mac/MacSoundActivity.cpp"
ICONS = "platform/mac/MacWindowIcons.mm"
RUNTIME = "tests/platform/mac/objc/Exceptions.cpp"

# What it is, the file, what is there, what is put in its place.
DEFECTS = [
    ("a frame of which nothing is heard holds up all others", SESSION, "order_.finishUpTo(id, Outcome{})", "order_.find(id)"),
    ("callbacks go on after the end", SESSION, "hasEnded_ = true;", ""),
    ("the end does not wait for the running callback", SESSION, "if (!queue_.isCurrent())\n            queue_.drain();", ""),
    ("a refused frame is called back", SESSION, "if (hasEnded_ || isSubmitting_)", "if (hasEnded_)"),
    ("a frame that is dropped at once is never called back", SESSION, "} else if ((flags & kVTEncodeInfo_FrameDropped) != 0) {", "} else if (flags == 8) {"),
    ("the key frame of a half second comes later", SESSION, "- lastKeyFrame_ >= longest", "- lastKeyFrame_ > longest"),
    ("a key frame fulfils no request", SESSION, "requests_.fulfil(*asked_->request);", ""),
    ("every picture is asked for as a key frame while one is awaited", SESSION, "request && (!asked_ || asked_->request != request)", "request.has_value()"),
    ("a session is not invalidated", SESSION, "VTCompressionSessionInvalidate(session_.get());", "static_cast<void>(0);"),
    ("a leaked dictionary for each key frame", SESSION, "frame->asKeyFrame ? keyFrameProperties_.get()", "frame->asKeyFrame ? keyFrameProperties().release()"),
    ("a property under another's name", SESSION, "return kVTCompressionPropertyKey_MaxKeyFrameInterval;", "return kVTCompressionPropertyKey_AverageBitRate;"),
    ("yes and no swapped", SESSION, "*boolean ? kCFBooleanTrue : kCFBooleanFalse", "*boolean ? kCFBooleanFalse : kCFBooleanTrue"),
    ("the duration in place of the time", SESSION, "pixels.get(), toCMTime(presentationTimeStamp)", "pixels.get(), toCMTime(duration)"),
    ("completing does not wait for the callbacks", SESSION, "frames_->drain();", ""),
    ("a callback that completes its session waits for itself", SESSION, "if (frames_->isCallingBack())", "if (false)"),
    ("pictures of another size are passed on", SESSION, "|| pixelBuffer->height != height_", "|| pixelBuffer->height < height_ / 2"),
    ("another codec is passed on", SESSION, "codec.value != kCMVideoCodecType_H264", "codec.value == 0"),
    ("a frame's status is lost", SESSION, "finish(*frame, {status, status == noErr", "finish(*frame, {noErr, status == noErr"),
    ("a frame's bytes are not kept", MEDIA, "std::shared_ptr<const void>{retained(block)}", "std::shared_ptr<const void>{}"),
    ("only the first piece of a frame", MEDIA, "if (contiguous == total)", "if (contiguous != 0)"),
    ("lengths of another size are taken for ours", MEDIA, "\n            || lengthSize != 4", ""),
    ("only the first parameter set", MEDIA, "index < count; ++index) {\n        const std::uint8_t* set", "index < 1; ++index) {\n        const std::uint8_t* set"),
    ("frames that are no sync samples count as key frames", MEDIA, "hasAttachment(sample, kCMSampleAttachmentKey_NotSync) || ", ""),
    ("frames that depend on others count as key frames", MEDIA, " || hasAttachment(sample, kCMSampleAttachmentKey_DependsOnOthers)", ""),
    ("a picture is never unlocked", MEDIA, "CVPixelBufferUnlockBaseAddress(buffer, kCVPixelBufferLock_ReadOnly);", ""),
    ("a picture is leaked", MEDIA, "        CFRelease(buffer);\n", ""),
    ("the memory of a picture is given back at once", MEDIA, "static_cast<void>(keeper.release());", "keeper.release(); delete new PixelBufferRef(picture); CFRetain(around);"),
    ("channels swapped", MEDIA, "at * channels + index", "at * channels + (channels - 1 - index)"),
    ("planar sound is taken for interleaved", MEDIA, "const std::size_t bufferCount = isPlanar ? channels : 1;", "const std::size_t bufferCount = 1;"),
    ("the memory of sound is leaked", MEDIA, "const CfHandle<CMBlockBufferRef> memory{block};", "static_cast<void>(block);"),
    ("an infinite time is taken for its value", MEDIA, "(time.flags & ~CMTimeFlags{kCMTimeFlags_HasBeenRounded}) == kCMTimeFlags_Valid", "(time.flags & kCMTimeFlags_Valid) != 0"),
    ("colour is always called BT.709", MEDIA, "return value && CFEqual(value, bt709) ? 1 : 2;", "static_cast<void>(value); static_cast<void>(bt709); return 1;"),
    ("a still window is not repeated", DELIVERY, "if (now >= pictureDue) {", "if (false) {"),
    ("a repeated picture keeps its time", DELIVERY, "    lastTime_ = now;\n", "    lastTime_ = std::min(lastTime_, now);\n"),
    ("nobody repeats for whom waits for a key frame", DELIVERY, "        isPictureWanted_ = true;\n", ""),
    ("what waits in a queue is delivered after a stop", DELIVERY, "&& !self->hasEnded_)", ")"),
    ("pictures are handed on after a stop", DELIVERY, "if (!hasBegun_ || hasEnded_)\n        return;\n    // The system", "if (!hasBegun_)\n        return;\n    // The system"),
    ("times ahead of the clock", DELIVERY, "moment > now || ", ""),
    ("old times", DELIVERY, " || now - moment >= repeatInterval", ""),
    ("times that stand still", DELIVERY, "std::max(moment, lastTime_ + std::chrono::nanoseconds{1})", "moment"),
    ("another time base", DELIVERY, "time.isValid() ? momentOf(time) : now", "time.isValid() ? MonotonicTime{std::chrono::nanoseconds{time.value}} : now"),
    ("the last picture is kept after a stop", DELIVERY, "        lastPicture_.reset();\n", ""),
    ("mono in one ear", DELIVERY, "stereo.push_back(sound.samples[at + (channels > 1 ? 1 : 0)]);", "stereo.push_back(0);"),
    ("sound of another rate is taken as it is", DELIVERY, "|| sound.sampleRate != soundFormat_->sampleRate ", ""),
    ("silence is not put out", DELIVERY, "            sound_->deliver(now);\n        } else if", "        } else if"),
    ("a stop goes to a stream that does not run yet", STREAM, "if (phase_ == Phase::starting && !stop_) {", "if (phase_ == Phase::starting && !stop_) { phase_ = Phase::running; } if (false) {"),
    ("an end before the start's completion is lost", STREAM, "ownEnd_ = error;", "static_cast<void>(error);"),
    ("an end is told twice", STREAM, "                return;\n            phase_ = Phase::ended;\n        }\n        reportEnd(error);", "                return;\n        }\n        reportEnd(error);"),
    ("an end is told before the start's completion", STREAM, "            completion(std::move(result));\n            self->didStart(hasStarted);", "            self->didStart(hasStarted);\n            completion(std::move(result));"),
    ("the completion of a stop during the start is lost", STREAM, "        if (stop)\n            stop({});\n        else if", "        if (stop)\n            stop.reset();\n        else if"),
    ("the completion of a second stop is lost", STREAM, "        if (completion)\n            return completion({});", "        if (completion)\n            return;"),
    ("a failed start is told as a success", STREAM, "            completion(std::move(result));\n", "            completion({});\n"),
    ("a microphone is taken for an output", STREAM, "if (type == StreamOutputType::microphone)", "if (false)"),
    ("the first picture after the start is lost", SCREEN, "(status == SCFrameStatusComplete || status == SCFrameStatusStarted)", "status == SCFrameStatusComplete"),
    ("sound and pictures swapped", SCREEN, "isSound ? SCStreamOutputTypeAudio : SCStreamOutputTypeScreen", "isSound ? SCStreamOutputTypeScreen : SCStreamOutputTypeAudio"),
    ("a reference cycle", SCREEN, "    _observer = std::move(observer);\n", "    _observer = observer;\n    static auto& kept = *new std::vector<std::shared_ptr<void>>;\n    kept.push_back(observer.lock());\n"),
    ("a leaked object", SCREEN, "            *isRunning_ = true;\n", "            *isRunning_ = true;\n            static_cast<void>((__bridge_retained void*)stream_);\n"),
    ("no autorelease pool on a thread of ours", SCREEN, "        @autoreleasepool {\n            NSError* error = nil;", "        {\n            NSError* error = nil;"),
    ("a misspelt selector", SCREEN, "startCaptureWithCompletionHandler:^", "startCaptureWithCompletionHander:^"),
    ("a method that nobody calls, being misspelt", SCREEN, "- (void)stream:(SCStream*)stream didStopWithError:", "- (void)stream:(SCStream*)stream didStopWithAnError:"),
    ("width and height swapped", SCREEN, "result.width = static_cast<std::size_t>(configuration.width);", "result.width = static_cast<std::size_t>(configuration.height);"),
    ("the part of the display is not set", SCREEN, "result.sourceRect = CGRect{{part->x, part->y}, {part->width, part->height}};", "static_cast<void>(part);"),
    ("our own sound is not left out", SCREEN, "result.excludesCurrentProcessAudio = configuration.excludesCurrentProcessAudio;", ""),
    ("shadows are not left out", SCREEN, "result.ignoreShadowsDisplay = configuration.ignoreShadowsDisplay;", ""),
    ("the rate of pictures is not set", SCREEN, "result.minimumFrameInterval = toCMTime(configuration.minimumFrameInterval);", ""),
    ("a completion is called as often as the system likes", SCREEN, "if (auto answered = std::exchange(*once, nullptr))\n                        answered(resultOf(error, \"The capture cannot be started.\"));",
     "(*once)(resultOf(error, \"The capture cannot be started.\"));"),
    ("a released stream runs on", SCREEN, "if (isRunning_->exchange(false))", "if (false)"),
    ("a stream is stopped that never ran", SCREEN, "if (isRunning_->exchange(false))", "if (true)"),
    ("excepted windows are forgotten", SCREEN, "            [excepted addObject:window];", "            static_cast<void>(window);"),
    ("an application that has gone is left out in silence", SCREEN, "            return fail(domain, notThere, \"The application is no longer there.\");", "            continue;"),
    ("windows in the system's order", CONTENT, "    sortFromTheFront(result.windows);\n", "    if (result.windows.empty())\n        sortFromTheFront(result.windows);\n"),
    ("windows at the back first", CONTENT, "return place(a) < place(b);", "return place(a) > place(b);"),
    ("an application is forgotten", CONTENT, "        result.owningApplication = applicationOf(application);", "        static_cast<void>(application);"),
    ("hidden windows count as visible", CONTENT, "result.isOnScreen = window.onScreen;", "result.isOnScreen = true;"),
    ("what is listed cannot be captured", CONTENT, "objects->keep(std::move(found));", ""),
    ("lists are answered as often as the system likes", CONTENT, "auto answered = std::exchange(*once, nullptr);", "auto& answered = *once;"),
    ("a pause in the sound is taken for its end", SOUND, "samples == 0 && !self.hasEnded_ ? nothingForNow : noErr", "noErr"),
    ("the priming is unknown", SOUND, "std::move(format), priming.leadingFrames", "std::move(format), 0"),
    ("a converter is leaked", SOUND, "AudioConverterDispose(converter);", "static_cast<void>(converter);"),
    ("the bit rate is not set", SOUND, "AudioConverterSetProperty(made, kAudioConverterEncodeBitRate, sizeof bitRate, &bitRate)", "OSStatus{noErr + 0 * static_cast<OSStatus>(bitRate)}"),
    ("memory is given back that the converter still reads", SOUND, "self.given_.data()}", "std::vector<float>(self.given_).data()}"),
    ("values that are no sound", SOUND, "engine::encodableSample(each)", "each"),
    ("a hot key is left with the system", KEYS, "            UnregisterEventHotKey(hotKey);\n", "            static_cast<void>(hotKey);\n"),
    ("a handler is left with the system", KEYS, "            RemoveEventHandler(listener);", "            static_cast<void>(listener);"),
    ("a hot key's numbers swapped", KEYS, "HotKeyID{pressed.signature, pressed.id}", "HotKeyID{pressed.id, pressed.signature}"),
    ("a preference of another type is taken for a yes", DEFAULTS, "CFGetTypeID(value.get()) == CFBooleanGetTypeID() && ", ""),
    ("a preference is not stored", DEFAULTS, "static_cast<void>(CFPreferencesAppSynchronize(kCFPreferencesCurrentApplication));", ""),
    ("a notification comes to the wrong centre", NOTES, "== centreNames[1] ? 1 : 0;", "== centreNames[1] ? 0 : 1;"),
    ("a centre takes the other's categories away", NOTES, "        for (const auto& ofOne : categories_) {\n            for (const auto& each : ofOne)", "        {\n            for (const auto& each : categories_[centre])"),
    ("closing a notification is not told", NOTES, "options:UNNotificationCategoryOptionCustomDismissAction]", "options:0]"),
    ("an action does not bring the program to the front", NOTES, "each.bringsToForeground ? UNNotificationActionOptionForeground\n                                                                                              : UNNotificationActionOptionNone", "UNNotificationActionOptionNone"),
    ("the system is not answered without a delegate", NOTES, "        return completionHandler();\n", "        return;\n"),
    ("an answer to a notification is leaked", NOTES, "    delegate->didReceive({", "    static_cast<void>((__bridge_retained void*)response);\n    delegate->didReceive({"),
    ("a delegate is left with the system", NOTES, "                center_.delegate = nil;\n", ""),
    ("a process without a bundle asks the system", NOTES, "if (!center_ && NSBundle.mainBundle.bundleIdentifier) {", "if (!center_) {"),
    ("a quiet notification is a loud one", NOTES, "centre == 1 ? UNNotificationInterruptionLevelPassive : UNNotificationInterruptionLevelActive", "UNNotificationInterruptionLevelActive"),
    ("what a centre adds is shown to its user", NOTES, "    result.userInfo.erase(std::string{centreKey});\n", ""),
    ("leave is answered as often as the system likes", NOTES, "                                      auto answered = std::exchange(*once, nullptr);\n", "                                      auto& answered = *once;\n"),
    ("a misspelt selector of the delegate's", NOTES, "    didReceiveNotificationResponse:(UNNotificationResponse*)response", "    didReceiveNotificationRespons:(UNNotificationResponse*)response"),
    ("a player calls after its end", PLAYER, "            *self_ = nullptr;\n", ""),
    ("an observer of time is left with the player", PLAYER, "            [player_ removeTimeObserver:pictures_];\n", ""),
    ("an observer of the end is left with its centre", PLAYER, "            [NSNotificationCenter.defaultCenter removeObserver:end_];\n", ""),
    ("a seek shows some picture nearby", PLAYER, "toleranceBefore:kCMTimeZero", "toleranceBefore:kCMTimeInvalid"),
    ("a seek that was overtaken shows a picture", PLAYER, "                    if (finished)\n", "                    if (finished || true)\n"),
    ("a jump is told as a time that plays", PLAYER, "if (*self && (*self)->isPlaying_)", "if (*self)"),
    ("playing goes on beyond its end", PLAYER, "if (endTime_ && CMTimeCompare(", "if (false && CMTimeCompare("),
    ("a failure is told within the call", PLAYER, "        later(mainExecutor_, self_, &MacPlayer::statusDidChange);\n    }\n\nprivate:", "        statusDidChange();\n    }\n\nprivate:"),
    ("a status is told on whatever thread", PLAYER, "[self, executor = mainExecutor_] { later(executor, self, &MacPlayer::statusDidChange); }", "[self] { (*self)->statusDidChange(); }"),
    ("a picture of the player's is leaked", PLAYER, "pixels{[output_ copyPixelBufferForItemTime:now itemTimeForDisplay:nullptr]};", "pixels{static_cast<CVPixelBufferRef>(const_cast<void*>(CFRetain([output_ copyPixelBufferForItemTime:now itemTimeForDisplay:nullptr])))};"),
    ("a drawn picture is mixed with the wrong line", SCALING, "lines.second * picture.bytesPerRow", "lines.first * picture.bytesPerRow"),
    ("what is around a drawn picture stays", SCALING, "        for (std::int32_t x = 0; x < target.width; ++x)\n            std::memcpy", "        for (std::int32_t x = 0; x < 0; ++x)\n            std::memcpy"),
    ("a decoded picture is put out for each sample", DECODER, "time == time_ ? 0 : VTDecodeFrameFlags{kVTDecodeFrame_DoNotOutputFrame}", "0"),
    ("a damaged picture is taken for a good one", DECODER, "        if (status_ != noErr)\n            return failure(status_);\n", ""),
    ("a decoder frees memory that is not its own", DECODER, "sample.size(), kCFAllocatorNull,", "sample.size(), kCFAllocatorDefault,"),
    ("a decoder is not invalidated", DECODER, "        VTDecompressionSessionInvalidate(session);\n", ""),
    ("pictures are made larger", DECODER, "if (format.width <= request.maximumWidth && format.height <= request.maximumHeight)", "if (false)"),
    ("sleep waits for one alone", SLEEP, "const auto permission = std::make_shared<Permission>(connection_, change);\n        observer_.willSleep([&permission]() -> UniqueFunction<void()> { return [held = permission]()", "auto permission = std::make_shared<Permission>(connection_, change);\n        observer_.willSleep([&permission]() -> UniqueFunction<void()> { return [held = std::exchange(permission, nullptr)]()"),
    ("sleep is never answered", SLEEP, "~Permission() { connection_->allow(change_); }", "~Permission()\n    {\n        if (change_ == 0)\n            connection_->allow(change_);\n    }"),
    ("whether it may sleep is never answered", SLEEP, "            self.connection_->allow(reinterpret_cast<std::intptr_t>(argument));\n", "            static_cast<void>(argument);\n"),
    ("waking is answered", SLEEP, "            self.observer_.didWake();", "            self.connection_->allow(0);"),
    ("a registration for sleep is left with the system", SLEEP, "        IODeregisterForSystemPower(&notifier_);\n", ""),
    ("observers are told of another thing", WORKSPACE, "tell(&platform::WorkspaceObserver::screenParametersDidChange); });", "tell(&platform::WorkspaceObserver::didWake); });"),
    ("an observer is left with its centre", WORKSPACE, "            [center_ removeObserver:token_];\n", ""),
    ("an observer that adds one ends the program", WORKSPACE, "            if (const auto told = observers_[index].*what)\n                told();", "            if (const auto& told = observers_[index].*what)\n                told();"),
    ("nil in an array", WORKSPACE, "                if (NSURL* const url = urlOf(each))\n                    [urls addObject:url];", "                [urls addObject:urlOf(each)];"),
    ("a dialog that is answered keeps itself", CHOOSER, "NSOpenPanel* const answered = std::exchange(dialog->panel, nil);", "NSOpenPanel* const answered = dialog->panel;"),
    ("a dialog outlives its chooser", CHOOSER, "                [panel cancel:nil];\n", "                static_cast<void>(panel);\n"),
    ("a chooser that has gone answers", CHOOSER, "NSOpenPanel* const panel = std::exchange(each->panel, nil);", "NSOpenPanel* const panel = each->panel;"),
    ("files can be chosen", CHOOSER, "            made.canChooseFiles = NO;\n", ""),
    ("a link is taken for a folder", TEXT, "return url.fileURL ? std", "return url ? std"),
    ("a text of other bytes is nil", TEXT, "            each = '?';", "            static_cast<void>(each);"),
    ("a panel takes the focus", FLOATING, "[window_ orderFrontRegardless];", "[window_ makeKeyAndOrderFront:nil];"),
    ("a panel stays on one space", FLOATING, "            | NSWindowCollectionBehaviorCanJoinAllSpaces | ", "            | "),
    ("a panel is told two things that exclude each other", FLOATING, "(behavior_ & ~NSWindowCollectionBehavior{NSWindowCollectionBehaviorMoveToActiveSpace})", "behavior_"),
    ("a panel keeps its level", FLOATING, "            window_.level = level_;\n", "            window_.level = level_ + NSFloatingWindowLevel;\n"),
    ("a window is leaked", FLOATING, "        [window_ orderFrontRegardless];", "        [window_ orderFrontRegardless];\n        static_cast<void>((__bridge_retained void*)window_);"),
    ("clicks are swallowed", FLOATING, "!area.has_value()", "area.has_value()"),
    ("screens upside down", ACTIVATION, "whole(heightOfTheFirst - rect.origin.y - rect.size.height)", "whole(rect.origin.y + 0 * heightOfTheFirst)"),
    ("a screen without a free part", ACTIVATION, "visible.isEmpty() ? frame : visible", "visible"),
    ("copying leaves what was there", SHARING, "            [board clearContents];\n            [board setString", "            [board setString"),
    ("a service gets what it does not take", SHARING, "if (![service canPerformWithItems:items])", "if (!service)"),
    ("a menu has a service that is not there", SHARING, "!title.empty())", "true)"),
    ("a drag moves the files", DRAGS, "return NSDragOperationCopy;", "return 16;"),
    ("red and blue swapped in a dragged picture", DRAGS, " | static_cast<CGBitmapInfo>(kCGBitmapByteOrder32Little)", ""),
    ("a dragged picture is leaked", DRAGS, "    delete static_cast<PixelBufferRef*>(picture);\n", "    static_cast<void>(picture);\n"),
    ("a drag without a press", DRAGS, "if (!view || (NSEvent.pressedMouseButtons & 1) == 0)", "if (!view)"),
    ("a login item to be allowed counts as on", LOGIN, "return {.isOn = false, .remark", "return {.isOn = true, .remark"),
    ("what is so already is asked for", LOGIN, "                return {};\n            NSError", "                {}\n            NSError"),
    ("a link's date is its own", FILES, "std::filesystem::canonical(path, error);", "path;"),
    ("a recording is discarded without a record", TRASH, "        auto trashed = putDeleted(path, move);\n        if (!trashed)\n            return trashed;\n        const auto number = numberOf(trashed->file);", "        auto trashed = putDeleted(path, move);\n        if (!trashed)\n            return trashed;\n        const auto number = numberOf(path);"),
    ("another file is offered as the recording", TRASH, "if (number != record.number) {", "if (!number || (number != record.number && record.seconds < 0)) {"),
    ("that it was offered is forgotten", TRASH, "    record.wasOffered = wasOffered != 0;\n", ""),
    ("a log's message is cut at the wrong end", LOG, "const std::string message{record.message};", "const std::string message{record.message.data()};"),
    ("errors in the log as news", LOG, "return OS_LOG_TYPE_ERROR;", "return OS_LOG_TYPE_INFO;"),
    ("the log's text is hidden", LOG, '"%{public}s"', '"%s"'),
    ("what the system throws goes through", THROWN, "    } @catch (NSException* exception) {\n        return errorOf(exception);\n    }", "    } @finally {\n    }"),
    ("an exception is swallowed without an answer", THROWN, "        answered(fail(std::move(error)));\n", "        static_cast<void>(answered);\n"),
    ("an exception is not in the log", LOGGED, "        makeLogSink()->write(", "        if (name.empty())\n            makeLogSink()->write("),
    ("an exception's reason is in the log", LOGGED, ": name);\n", ": name + reason);\n"),
    ("an exception is leaked", THROWN, "        return errorOf(exception);", "        static_cast<void>((__bridge_retained void*)exception);\n        return errorOf(exception);"),
    ("a start that threw counts as running", SCREEN, "                *isRunning_ = false;\n                answerThrown", "                answerThrown"),
    ("a start that threw is not answered", SCREEN, "                *isRunning_ = false;\n                answerThrown(once, exception);", "                *isRunning_ = false;"),
    ("a stop that throws goes through", SCREEN, "        } @catch (NSException* exception) {\n            answerThrown(once, exception);\n        }", "        } @finally {\n        }"),
    ("an output that throws counts as added", SCREEN, "            if (thrown)\n                return fail(std::move(*thrown));\n            if (!isAdded)", "            if (!thrown && !isAdded)"),
    ("a dialog that throws is answered twice", CHOOSER, "if (thrown && std::exchange(dialog->panel, nil))\n", "if (thrown)\n                (*answer)(fail(*thrown));\n            if (thrown && std::exchange(dialog->panel, nil))\n"),
    ("a centre that throws ends the program", NOTES, "if (thrownBy([&] { center_ = [UNUserNotificationCenter currentNotificationCenter]; }))\n                return nil;", "center_ = [UNUserNotificationCenter currentNotificationCenter];"),
    ("a clip that throws is no error", PLAYER, "                return fail(std::move(*thrown));\n            return made;", "                static_cast<void>(thrown);\n            return std::unique_ptr<Player>{};"),
    ("the tests' runtime catches what is of another class", RUNTIME, "if (class_ && !velmoraIsKindOf(object, class_))", "if (class_ && !velmoraIsKindOf(object, object ? class_ : nullptr) && false)"),
    ("the tests' runtime leaks what was thrown", RUNTIME, "objc_release(static_cast<Thrown*>(exception)->object);", "static_cast<void>(exception);"),
    ("the tests' runtime takes an exception of C++ for an object", RUNTIME, "        return false;\n    auto* const object", "        static_cast<void>(0);\n    auto* const object"),
    ("the system enables rows by itself", BAR, "    menu.autoenablesItems = NO;\n", ""),
    ("every row has Command", BAR, "            row.keyEquivalentModifierMask = modifiersOf(*each.keyEquivalent);", "            static_cast<void>(modifiersOf(*each.keyEquivalent));"),
    ("Option and Command swapped", BAR, "(keyEquivalent.withOption ? NSEventModifierFlags{NSEventModifierFlagOption}", "(keyEquivalent.withCommand ? NSEventModifierFlags{NSEventModifierFlagOption}"),
    ("a row without keys has some", BAR, ": std::string{};\n        NSMenuItem", ": std::string{\"x\"};\n        NSMenuItem"),
    ("rows pile up with each opening", BAR, "        [menu removeAllItems];\n        state->items.clear();", "        state->items.clear();"),
    ("another row is chosen than was clicked", BAR, "            row.tag = static_cast<NSInteger>(state.items.size());\n            state.items.push_back(each);", "            state.items.push_back(each);\n            row.tag = static_cast<NSInteger>(state.items.size()) - 1 - (state.items.size() > 1);"),
    ("rows have no target", BAR, "            row.target = target;\n", ""),
    ("a misspelt selector of the menu's", BAR, "- (void)menuNeedsUpdate:(NSMenu*)menu\n", "- (void)menuNeedUpdate:(NSMenu*)menu\n"),
    ("a row that is off can be chosen", BAR, "        row.enabled = each.isEnabled;\n", ""),
    ("the header is plain", BAR, "            row.attributedTitle = headerText(menuText(each));\n", "            static_cast<void>(headerText(menuText(each)));\n"),
    ("a submenu's rows are lost", BAR, "            row.submenu = submenu;\n", ""),
    ("an item is left in the bar", BAR, "            [NSStatusBar.systemStatusBar removeStatusItem:item_];\n            item_ = nil;", "            static_cast<void>((__bridge_retained void*)item_);\n            item_ = nil;"),
    ("an item is not held", BAR, "            item_.menu = menu_;\n        }\n    }", "            item_.menu = menu_;\n            item_ = nil;\n        }\n    }"),
    ("a menu that is open calls what has gone", BAR, "            state_->delegate = {};\n            [controller_ setStatusMenu:nullptr];\n            [menu_ removeAllItems];\n            menu_.delegate = nil;\n", ""),
    ("a choice that ends the item uses it afterwards", BAR, "        const auto triggered = state->delegate.menuItemTriggered;\n        triggered(item);", "        state->delegate.menuItemTriggered(item);"),
    ("a picture in the menu bar keeps its black", BAR, "[image setTemplate:picture.isTemplate];", "[image setTemplate:NO];"),
    ("a coloured picture loses its colours", BAR, "[image setTemplate:picture.isTemplate];", "[image setTemplate:YES];"),
    ("a picture has no name for those who cannot see it", BAR, "            image.accessibilityDescription = textFrom(picture.accessibleDescription);\n", ""),
    ("an item of fixed width", BAR, "statusItemWithLength:NSVariableStatusItemLength", "statusItemWithLength:24"),
    ("a program with an icon in the Dock", BAR, "setActivationPolicy:NSApplicationActivationPolicyAccessory] != NO", "setActivationPolicy:0] != NO"),
    ("a picture is as many points as pixels", IMAGES, "        representation.size = NSSize{side, side};\n", ""),
    ("a picture's memory goes too early", IMAGES, "{CGDataProviderCreateWithData(kept, kept->data(), kept->size(), giveBack)};", "{CGDataProviderCreateWithData(kept, picture.rgba.data(), kept->size(), giveBack)};"),
    ("a picture's memory is leaked", IMAGES, "    delete static_cast<Bytes*>(bytes);\n", "    static_cast<void>(bytes);\n"),
    ("a picture without its alpha", IMAGES, "static_cast<CGBitmapInfo>(kCGImageAlphaLast)", "static_cast<CGBitmapInfo>(kCGImageAlphaNoneSkipFirst)"),
    ("a picture of too few bytes is read beyond its end", IMAGES, "picture.rgba.size() != side * side * bytesPerPixel", "picture.rgba.empty()"),
    ("a panel goes with its program's activity", PANEL, "    panel.hidesOnDeactivate = NO;\n", ""),
    ("a panel can get the keys", PANEL, "- (BOOL)canBecomeKeyWindow\n{\n    return NO;", "- (BOOL)canBecomeKeyWindow\n{\n    return YES;"),
    ("a panel activates its program", PANEL, " | NSWindowStyleMaskNonactivatingPanel", ""),
    ("a panel on one space", PANEL, "NSWindowCollectionBehaviorCanJoinAllSpaces | ", ""),
    ("a panel under other windows", PANEL, "    panel.floatingPanel = YES;\n    panel.level = NSFloatingWindowLevel;\n", ""),
    ("a panel whose floating ends its level", PANEL, "    panel.floatingPanel = YES;\n    panel.level = NSFloatingWindowLevel;\n", "    panel.level = NSFloatingWindowLevel;\n    panel.floatingPanel = NO;\n"),
    ("a panel with a grey ground", PANEL, "    panel.opaque = NO;\n", ""),
    ("a panel in the wrong corner", PANEL, "area.origin.y + area.size.height - fromTopEdge", "area.origin.y + fromTopEdge"),
    ("a panel under the menu bar", PANEL, "screen.visibleFrame", "screen.frame"),
    ("a panel is seen before it fades in", PANEL, "            shown.alphaValue = 0;\n            [shown orderFrontRegardless];", "            [shown orderFrontRegardless];\n            shown.alphaValue = 0;"),
    ("a panel takes the focus when it comes", PANEL, "[shown orderFrontRegardless];", "[shown makeKeyAndOrderFront:nil];"),
    ("a panel that is shown again goes with its old fade", PANEL, "if (*turn == current)", "if (*turn == current || *turn != 0)"),
    ("a panel moves for who wants no motion", PANEL, "accessibilityDisplayShouldReduceMotion != NO;", "accessibilityDisplayShouldReduceMotion != NO && !NSScreen.mainScreen;"),
    ("a panel fades at another pace", PANEL, "                    context.duration = seconds;\n", "                    context.duration = seconds * 2;\n"),
    ("a panel is leaked by its fade", PANEL, "            const auto turn = turn_;\n", "            const auto turn = turn_;\n            static_cast<void>((__bridge_retained void*)fading);\n"),
    ("a panel is made anew each time", PANEL, "        if (!panel_)\n            panel_ = makePanel();", "        panel_ = makePanel();"),
    ("a title breaks its row", WORDS, 'isControl ? " " : ', 'isControl ? "\\n" : '),
    ("a title of other bytes is shown as they are", WORDS, 'length == 0 ? "\\uFFFD" : ', 'length == 0 ? text.substr(0, 1) : '),
    ("looking for access asks the user", ACCESS, "note(CGPreflightScreenCaptureAccess())", "note(CGRequestScreenCaptureAccess())"),
    ("a silent process plays", ACTIVITY, "valueOf<UInt32>(object, isRunningOutput) != 0", "valueOf<UInt32>(object, isRunningOutput) == 0"),
    ("our own process plays", ACTIVITY, " && process != ::getpid()", ""),
    ("a process without a number plays", ACTIVITY, "process > 0 && ", ""),
    ("listeners are left after the end", ACTIVITY, "{ self->removeListeners(); }", "{ }"),
    ("what plays is told without a change", ACTIVITY, " || told_ == lineages", ""),
    ("a process is listened to twice", ACTIVITY, "                listenedTo_.insert(object);\n", "                static_cast<void>(object);\n"),
    ("new processes are not heard of", ACTIVITY, "AudioObjectAddPropertyListener(kAudioObjectSystemObject, &processList, hasChanged, self->name()) == noErr;", "false;"),
    ("a list of processes that cannot be read is empty", ACTIVITY, "        if (!objects)\n            return;\n        std::erase_if", "        if (!objects)\n            return tell({});\n        std::erase_if"),
    ("one icon for all applications", ICONS, "icons.try_emplace(application.processID)", "icons.try_emplace(501)"),
    ("icons go on though nobody wants more", ICONS, "if (known->second && !found(windowID, *known->second))\n                return;", "if (known->second)\n                static_cast<void>(found(windowID, *known->second));"),
    ("an exception over one icon ends the program", ICONS, "    const auto thrown =\n        thrownBy([&] { icon = pictureOf([NSRunningApplication runningApplicationWithProcessIdentifier:process].icon, side); });\n    return thrown ? std::nullopt : icon;", "    icon = pictureOf([NSRunningApplication runningApplicationWithProcessIdentifier:process].icon, side);\n    return icon;"),
    ("an icon's colours stay multiplied by their alpha", IMAGES, "    divideByAlpha(icon.rgba);\n", "    static_cast<void>(divideByAlpha);\n"),
    ("an icon is drawn into a part of its place", IMAGES, "CGContextDrawImage(context.get(), whole, drawn);", "CGContextDrawImage(context.get(), proposed, drawn);"),
]
# The same, and why no test here can notice.
UNNOTICED = [
    ("processes that cannot be listed play nothing", ACTIVITY, "if (self->hasEnded() || !AudioObjectHasProperty(kAudioObjectSystemObject, &processList))", "static_cast<void>(AudioObjectHasProperty(kAudioObjectSystemObject, &processList)); if (self->hasEnded())",
     "a list that is not there cannot be read either, so nothing is told"),
    ("both outputs on one queue", SCREEN, "isSound ? soundQueue_ : screenQueue_", "screenQueue_",
     "the seam hands on to its own queues; no page forbids one queue for both"),
    ("a number of the declarations is wrong", "platform/mac/declarations/ScreenCaptureKit/ScreenCaptureKit.h", "SCFrameStatusComplete = 0", "SCFrameStatusComplete = 6",
     "the stand-in reads the same declaration: only SystemHeaders.mm on a Mac can tell"),
    ("a structure has another layout", "platform/mac/declarations/CoreMedia/CoreMedia.h", "__attribute__((packed, aligned(4)))", "",
     "the same: adapter and stand-in agree"),
    ("a captured picture is wrapped once more", MEDIA, "if (std::get_deleter<UnlockAndRelease>(picture->owner))", "if (false)",
     "the encoder gets the same memory; that it is not the system's own buffer costs a copy only on a Mac"),
    ("the queues have no urgency", SCREEN, "dispatch_queue_attr_make_with_qos_class(DISPATCH_QUEUE_SERIAL, QOS_CLASS_USER_INTERACTIVE, 0)", "DISPATCH_QUEUE_SERIAL",
     "urgency changes no result"),
]


def run(command, **more):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **more)


def notice(build):
    """How the defect is noticed; none if it is not."""
    built = run(["ninja", "-C", build])
    if built.returncode:
        return "does not compile"
    try:
        tested = run([os.path.join(build, "mac_objc_tests"), "--gtest_brief=1", "--gtest_fail_fast"], timeout=30)
    except subprocess.TimeoutExpired:
        return "hangs"
    if tested.returncode == 0:
        return None
    failed = [line.split()[3].rstrip(",") for line in tested.stdout.splitlines() if line.startswith("[  FAILED  ]") and len(line.split()) > 3
              and "." in line.split()[3]]
    if failed:
        return failed[0]
    return "ended: " + next((line.strip() for line in tested.stdout.splitlines() if "stand-in" in line or "ERROR" in line or "error" in line), "abort")[:80]


def main(folder, options):
    copy, build = os.path.join(folder, "source"), os.path.join(folder, "build")
    shutil.rmtree(copy, ignore_errors=True)
    for each in COPIED:
        # As new: what an earlier run has built is older.
        shutil.copytree(os.path.join(ROOT, each), os.path.join(copy, each), copy_function=shutil.copy)
    configured = run(["cmake", "-S", os.path.join(copy, "tests/platform/mac/objc"), "-B", build, "-G", "Ninja", "-DVELMORA_MAC_EVERYTHING=ON", *options])
    if configured.returncode:
        sys.exit(configured.stdout)
    if notice(build):
        sys.exit("the tests fail without any defect: " + str(notice(build)))
    status = noticed = 0
    chosen = [each for each in DEFECTS + UNNOTICED if any(text in each[0] for text in ONLY)]
    for what, path, old, new, *why in chosen:
        file = os.path.join(copy, path)
        with open(file, encoding="utf-8") as stream:
            text = stream.read()
        if text.count(old) != 1:
            print(f"CANNOT BE MADE, its place is there {text.count(old)} times: {what}", flush=True)
            status = 1
            continue
        with open(file, "w", encoding="utf-8") as stream:
            stream.write(text.replace(old, new))
        how = notice(build)
        with open(file, "w", encoding="utf-8") as stream:
            stream.write(text)
        noticed += how is not None
        if (how is None) != bool(why) or (how == "does not compile") != ("misspelt" in what):
            status = 1
            print("NOT AS EXPECTED: ", end="")
        print(f"{'noticed' if how else 'NOT NOTICED'}: {what}: {how or (why[0] if why else 'nothing')}", flush=True)
    print(f"{noticed} of {len(chosen)} defects noticed")
    sys.exit(status)


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    main(os.path.abspath(sys.argv[1]), sys.argv[2:])
