// SPDX-License-Identifier: Apache-2.0
package android.media;

public class MediaRecorder {
    public static final class AudioSource {
        public static final int UNPROCESSED = 9;
    }
}
