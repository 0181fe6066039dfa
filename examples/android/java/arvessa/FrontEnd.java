// SPDX-License-Identifier: Apache-2.0
package arvessa;

/** The speech front end. Not for two threads at once; close() frees its memory. */
public final class FrontEnd implements AutoCloseable {
    public static final int SAMPLE_RATE = 8000;
    public static final int FRAME = 80;

    static {
        System.loadLibrary("arvessa_jni");
    }

    private long stream;

    public FrontEnd(boolean suppressNoise, boolean enhance) {
        stream = open(suppressNoise, enhance);
        if (stream == 0) throw new OutOfMemoryError();
    }

    /** FRAME pairs of samples in, FRAME samples out. */
    public void process(short[] interleaved, short[] out) {
        if (stream == 0) throw new IllegalStateException("closed");
        if (interleaved.length < 2 * FRAME || out.length < FRAME) {
            throw new IllegalArgumentException("shorter than a frame");
        }
        int status = process(stream, interleaved, out);
        if (status != 0) throw new IllegalStateException("status " + status);
    }

    @Override
    public void close() {
        if (stream != 0) close(stream);
        stream = 0;
    }

    private static native long open(boolean suppressNoise, boolean enhance);
    private static native int process(long stream, short[] interleaved, short[] out);
    private static native void close(long stream);
}
