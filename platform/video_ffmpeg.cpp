// Video writing with the FFmpeg libraries: the frames are converted to
// yuv420p and encoded at constant quality (the picture decides the bit rate,
// not a guess about it), into a file beside the target that is renamed when
// the container is finished.
#include "platform/platform.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace platform {

struct VideoWriter {
  std::string path, partPath, encoder;
  AVFormatContext* format = nullptr;
  AVCodecContext* codec = nullptr;
  AVStream* stream = nullptr;
  SwsContext* scale = nullptr;
  AVFrame* frame = nullptr;
  AVPacket* packet = nullptr;
  int width = 0, height = 0;
  int64_t next = 0;  // presentation time of the next frame, in frames
  bool headerWritten = false;
};

namespace {

std::string lowerExtension(const std::string& path) {
  std::string ext = std::filesystem::path(path).extension().string();
  for (char& c : ext)
    if (c >= 'A' && c <= 'Z') c = char(c - 'A' + 'a');
  return ext;
}

// The encoders to try for a container, best first, with the option that
// makes their quality constant.
struct Choice {
  const char* encoder;
  const char* qualityKey;
  const char* qualityValue;
};

std::vector<Choice> choicesFor(const std::string& ext) {
  if (ext == ".mp4") return {{"libx264", "crf", "18"}};
  if (ext == ".webm" || ext == ".mkv") return {{"libvpx-vp9", "crf", "30"}, {"libaom-av1", "crf", "30"}};
  return {};
}

std::string averror(int code) {
  char buf[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(code, buf, sizeof buf);
  return buf;
}

void freeWriter(VideoWriter* v) {
  if (!v) return;
  if (v->format) {
    if (v->format->pb) avio_closep(&v->format->pb);
    avformat_free_context(v->format);
  }
  avcodec_free_context(&v->codec);
  sws_freeContext(v->scale);
  av_frame_free(&v->frame);
  av_packet_free(&v->packet);
  delete v;
}

// Drains the encoder's packets into the file; `frame` null flushes it.
bool encode(VideoWriter* v, AVFrame* frame, std::string& error) {
  int rc = avcodec_send_frame(v->codec, frame);
  if (rc < 0) {
    error = "ошибка кодирования видео: " + averror(rc);
    return false;
  }
  for (;;) {
    rc = avcodec_receive_packet(v->codec, v->packet);
    if (rc == AVERROR(EAGAIN) || rc == AVERROR_EOF) return true;
    if (rc < 0) {
      error = "ошибка кодирования видео: " + averror(rc);
      return false;
    }
    av_packet_rescale_ts(v->packet, v->codec->time_base, v->stream->time_base);
    v->packet->stream_index = v->stream->index;
    rc = av_interleaved_write_frame(v->format, v->packet);
    if (rc < 0) {
      error = "не удалось записать видео: " + averror(rc);
      return false;
    }
  }
}

}  // namespace

bool videoSupported(const std::string& path, std::string& error) {
  const std::string ext = lowerExtension(path);
  const std::vector<Choice> choices = choicesFor(ext);
  if (choices.empty()) {
    error = "неизвестный формат видео «" + ext + "» (нужно .mp4, .webm или .mkv, или папка с / на конце)";
    return false;
  }
  for (const Choice& c : choices)
    if (avcodec_find_encoder_by_name(c.encoder)) return true;
  error = std::string("в этой сборке нет кодека для ") + ext + " (" + choices.front().encoder + ")";
  return false;
}

VideoWriter* openVideo(const std::string& path, int width, int height, int fps, std::string& error) {
  if (!videoSupported(path, error)) return nullptr;
  av_log_set_level(AV_LOG_ERROR);  // the encoders' statistics are not the user's business
  if (width < 2 || height < 2 || width % 2 || height % 2) {
    error = "для видео ширина и высота должны быть чётными";
    return nullptr;
  }
  auto* v = new VideoWriter;
  v->path = path;
  v->partPath = path + ".part";
  v->width = width;
  v->height = height;
  const std::string ext = lowerExtension(path);
  const char* container = ext == ".mp4" ? "mp4" : ext == ".webm" ? "webm" : "matroska";
  int rc = avformat_alloc_output_context2(&v->format, nullptr, container, v->partPath.c_str());
  if (rc < 0 || !v->format) {
    error = "не удалось создать видео: " + averror(rc);
    freeWriter(v);
    return nullptr;
  }
  const AVCodec* codec = nullptr;
  Choice chosen{};
  for (const Choice& c : choicesFor(ext))
    if ((codec = avcodec_find_encoder_by_name(c.encoder))) {
      chosen = c;
      break;
    }
  v->encoder = chosen.encoder;
  v->stream = avformat_new_stream(v->format, nullptr);
  v->codec = avcodec_alloc_context3(codec);
  v->frame = av_frame_alloc();
  v->packet = av_packet_alloc();
  if (!v->stream || !v->codec || !v->frame || !v->packet) {
    error = "не хватает памяти для видео";
    freeWriter(v);
    return nullptr;
  }
  v->codec->width = width;
  v->codec->height = height;
  v->codec->pix_fmt = AV_PIX_FMT_YUV420P;
  v->codec->time_base = AVRational{1, fps};
  v->codec->framerate = AVRational{fps, 1};
  v->codec->gop_size = std::max(1, fps * 2);
  if (chosen.encoder == std::string("libvpx-vp9")) av_opt_set_int(v->codec->priv_data, "b", 0, 0), v->codec->bit_rate = 0;
  av_opt_set(v->codec->priv_data, chosen.qualityKey, chosen.qualityValue, 0);
  if (v->format->oformat->flags & AVFMT_GLOBALHEADER) v->codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  if ((rc = avcodec_open2(v->codec, codec, nullptr)) < 0 ||
      (rc = avcodec_parameters_from_context(v->stream->codecpar, v->codec)) < 0) {
    error = std::string("не удалось запустить кодек ") + chosen.encoder + ": " + averror(rc);
    freeWriter(v);
    return nullptr;
  }
  v->stream->time_base = v->codec->time_base;
  v->stream->avg_frame_rate = AVRational{fps, 1};
  v->frame->format = AV_PIX_FMT_YUV420P;
  v->frame->width = width;
  v->frame->height = height;
  v->scale = sws_getContext(width, height, AV_PIX_FMT_RGBA, width, height, AV_PIX_FMT_YUV420P, SWS_BICUBIC,
                            nullptr, nullptr, nullptr);
  if (!v->scale || av_frame_get_buffer(v->frame, 0) < 0) {
    error = "не хватает памяти для видео";
    freeWriter(v);
    return nullptr;
  }
  if ((rc = avio_open(&v->format->pb, v->partPath.c_str(), AVIO_FLAG_WRITE)) < 0) {
    error = "не удалось записать файл «" + v->partPath + "»: " + averror(rc);
    freeWriter(v);
    return nullptr;
  }
  AVDictionary* options = nullptr;
  if (ext == ".mp4") av_dict_set(&options, "movflags", "+faststart", 0);
  rc = avformat_write_header(v->format, &options);
  av_dict_free(&options);
  if (rc < 0) {
    error = "не удалось начать видео: " + averror(rc);
    abandonVideo(v);
    return nullptr;
  }
  v->headerWritten = true;
  return v;
}

bool writeVideoFrame(VideoWriter* v, const uint8_t* rgbaBottomUp, std::string& error) {
  if (av_frame_make_writable(v->frame) < 0) {
    error = "не хватает памяти для видео";
    return false;
  }
  // GL's rows run bottom-up: start at the last row with a negative stride.
  const int stride = v->width * 4;
  const uint8_t* src[1] = {rgbaBottomUp + size_t(stride) * size_t(v->height - 1)};
  const int strides[1] = {-stride};
  sws_scale(v->scale, src, strides, 0, v->height, v->frame->data, v->frame->linesize);
  v->frame->pts = v->next++;
  return encode(v, v->frame, error);
}

bool closeVideo(VideoWriter* v, std::string& error) {
  bool ok = encode(v, nullptr, error);
  if (ok) {
    int rc = av_write_trailer(v->format);
    if (rc < 0) {
      error = "не удалось завершить видео: " + averror(rc);
      ok = false;
    }
  }
  if (v->format->pb) avio_closep(&v->format->pb);
  std::error_code ec;
  if (ok) {
    std::filesystem::rename(v->partPath, v->path, ec);
    if (ec) {
      error = "не удалось записать файл «" + v->path + "»: " + ec.message();
      ok = false;
    }
  }
  if (!ok) std::filesystem::remove(v->partPath, ec);
  freeWriter(v);
  return ok;
}

void abandonVideo(VideoWriter* v) {
  if (!v) return;
  if (v->format && v->format->pb) avio_closep(&v->format->pb);
  std::error_code ec;
  std::filesystem::remove(v->partPath, ec);
  freeWriter(v);
}

std::string videoEncoderName(const VideoWriter* v) { return v ? v->encoder : std::string(); }

}  // namespace platform
