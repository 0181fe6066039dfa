// SPDX-License-Identifier: Apache-2.0
package android.media;

import java.io.DataInputStream;
import java.io.IOException;

/** Stands in for the platform's class: hears raw samples on standard input, and nothing but what
 * Recorder asks for. */
public class AudioRecord {
    private final DataInputStream in = new DataInputStream(System.in);
    private boolean started;

    public AudioRecord(int source, int rate, int channels, int encoding, int bytes) {
        if (source != MediaRecorder.AudioSource.UNPROCESSED || rate != 8000
                || channels != AudioFormat.CHANNEL_IN_STEREO
                || encoding != AudioFormat.ENCODING_PCM_16BIT || bytes < 640) {
            throw new IllegalArgumentException();
        }
    }

    public void startRecording() { started = true; }

    public int read(short[] samples, int offset, int count) {
        if (!started) throw new IllegalStateException();
        try {
            for (int i = 0; i < count; ++i) samples[offset + i] = Short.reverseBytes(in.readShort());
        } catch (IOException end) {
            return 0;
        }
        return count;
    }

    public void stop() { started = false; }

    public void release() {
        if (started) throw new IllegalStateException();
        System.err.print("released");
    }
}
