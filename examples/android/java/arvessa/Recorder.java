// SPDX-License-Identifier: Apache-2.0
package arvessa;

import android.media.AudioFormat;
import android.media.AudioRecord;
import android.media.MediaRecorder;

/** Records with two microphones, in a thread of its own, and hands every clean frame on. */
public final class Recorder implements Runnable {
    public interface Listener {
        /** FrontEnd.FRAME samples; the array is used again. */
        void clean(short[] frame);
    }

    private static final int BUFFER_BYTES = 20 * 4 * FrontEnd.FRAME;  // 200 ms

    private final Listener listener;
    private volatile boolean recording = true;

    public Recorder(Listener listener) {
        this.listener = listener;
    }

    public void stop() {
        recording = false;
    }

    @Override
    public void run() {
        AudioRecord record = new AudioRecord(MediaRecorder.AudioSource.UNPROCESSED,
                FrontEnd.SAMPLE_RATE, AudioFormat.CHANNEL_IN_STEREO,
                AudioFormat.ENCODING_PCM_16BIT, BUFFER_BYTES);
        short[] pairs = new short[2 * FrontEnd.FRAME];
        short[] clean = new short[FrontEnd.FRAME];
        try (FrontEnd frontEnd = new FrontEnd(true, true)) {
            record.startRecording();
            while (recording) {
                if (record.read(pairs, 0, pairs.length) != pairs.length) break;
                frontEnd.process(pairs, clean);
                listener.clean(clean);
            }
        } finally {
            record.stop();
            record.release();
        }
    }
}
