#include "Vorn.h"
#include "engine/engine_state.h"
#include "support/signals.h"
#include <cmath>
#include <cstdio>
namespace arvessa::test { namespace {
TEST(X,Y){
  for (int rate=0; rate<4; ++rate) for (int mode=0; mode<3; ++mode) {
    const int n=frameSamples(rate);
    alignas(8) unsigned char mem[VORN_STATE_BYTES];
    VornConfig cfg={mem,VORN_STATE_BYTES,VORN_CHECK_VALUE,(uint8_t)rate,(uint8_t)(mode==2),(uint8_t)(mode!=2),2};
    VORN_Init(&cfg);
    Random r(5); Samples in,out; double p1=0,p2=0;
    for (int f=0; f<(mode==2?600:200); ++f){ alignas(4) Word16 x[480], y[480];
      for(int i=0;i<n;++i){ x[i]= mode==1 ? (Word16)std::lround(6000*std::sin(2*M_PI*1000.0*((double)in.size()+i)/(n*100))) : (Word16)r.wordOf(12);} 
      Word16 len=n; VORN_Proc(x,n,y,&len,&cfg); in.insert(in.end(),x,x+n); out.insert(out.end(),y,y+n);}
    size_t start=in.size()/2;
    if(mode==0) for (int half=0; half<2; ++half){ double best=0; size_t bl=0; for(size_t lag=half*400;lag<(size_t)half*400+400;++lag){double m=0; for(size_t i=start;i<in.size();++i)m+=1.0*in[i-lag]*out[i]; if(std::fabs(m)>best){best=std::fabs(m);bl=lag;}} 
      double xx=0,xy=0,yy=0; for(size_t i=start;i<in.size();++i){xx+=1.0*in[i-bl]*in[i-bl];xy+=1.0*in[i-bl]*out[i];yy+=1.0*out[i]*out[i];} double g=xy/xx; std::printf("rate %d noise lag %zu gain %f snr %f dB\n",rate,bl,g,10*std::log10(g*g*xx/(yy-g*g*xx)));}
    if(mode==1){ double a=0,b=0,yy=0,ss=0; size_t N=in.size()-start; N-=N%(n*100/100); for(size_t i=start;i<start+N;++i){double t=2*M_PI*1000.0*i/(n*100); a+=out[i]*std::sin(t); b+=out[i]*std::cos(t); yy+=1.0*out[i]*out[i]; ss+=1.0*in[i]*in[i];} a*=2.0/N;b*=2.0/N; double fit=(a*a+b*b)/2*N; std::printf("rate %d tone gain %f snr %f dB\n",rate,std::sqrt(a*a+b*b)/6000,10*std::log10(fit/(yy-fit)));}
    if(mode==2){ for(size_t i=start;i<in.size();++i){p1+=1.0*in[i]*in[i];p2+=1.0*out[i]*out[i];} std::printf("rate %d atten %f dB\n",rate,10*std::log10(p2/p1)); }
  }
}
}}
