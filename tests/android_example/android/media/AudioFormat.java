// SPDX-License-Identifier: Apache-2.0
package android.media;

public class AudioFormat {
    public static final int CHANNEL_IN_STEREO = 12;
    public static final int ENCODING_PCM_16BIT = 2;
}
